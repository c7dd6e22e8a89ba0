#include "primitives/values/ValueElem.h"

#include "ValuesSupport.h"
#include "primitives/message/MsgStruct.h"
#include "primitives/values/HashTable.h"

namespace {

TEST(ValueElem, ArgumentTypePicksTheValueType) {
    VList list;
    NVList names;
    ValueArray array(2);
    HashTable hash;
    MsgStruct msg;
    int ends = 0;
    Probe object(&ends);
    unsigned char bytes[4] = {};
    char text[] = "text";
    short small = 2;
    VList all;
    const struct {
        VElem* elem;
        int vtype;
    } cases[] = {
        {all.append(), VTYPE_NULL},
        {all.append(1), VTYPE_S32},
        {all.append(small), VTYPE_S16},
        {all.append('c'), VTYPE_S8},
        {all.append("literal", 1), VTYPE_STR},
        {all.append(text, 1), VTYPE_STR},
        {all.append(bytes, 1), VTYPE_PTR},
        {all.append(&list, 1), VTYPE_VLIST},
        {all.append(&names, 1), VTYPE_NVLIST},
        {all.append(&array, 1), VTYPE_ARRAY},
        {all.append(&hash, 1), VTYPE_HASH},
        {all.append(&msg, 1), VTYPE_MSG},
        {all.append(&object, 1), VTYPE_OBJECT},
    };
    for (const auto& c : cases) EXPECT_EQ(c.elem->vtype(), c.vtype);
    EXPECT_EQ(cases[5].elem->getstr(), text);
    EXPECT_EQ(cases[6].elem->getptr(), bytes);
    EXPECT_EQ(cases[12].elem->getobject(), &object);
    static_assert(!CellValue<long> && !CellValue<unsigned> && !CellValue<double>, "no silent narrowing");
    static_assert(!CellValue<std::nullptr_t, int> && !CellValue<const char*>, "no guessing");
}

// Owned values of every kind are freed exactly once, however the cell loses them; the leak and address
// checkers see the strings and blocks, the probes count.
TEST(ValueElem, OwnedValuesEndWithTheCellOrTheNextSet) {
    int ends = 0;
    {
        ValueElem cell(new Probe(&ends), 0);
        cell.set(heap_str("owned"), 0);
        EXPECT_EQ(ends, 1);
        VList* inner = new VList;
        inner->append(new Probe(&ends), 0);
        cell.set(inner, 0);
        cell.set(7);
        EXPECT_EQ(ends, 2);
        NVList* names = new NVList;
        names->append("n", new Probe(&ends), 0);
        cell.set(names, 0);
        ValueArray* array = new ValueArray(3);
        array->value(2)->set(new Probe(&ends), 0);
        cell.set(array, 0);
        EXPECT_EQ(ends, 3);
        HashTable* hash = new HashTable;
        hash->init(5, ht_func);
        hash->append("k", new Probe(&ends), 0);
        cell.set(hash, 0);
        EXPECT_EQ(ends, 4);
        cell.set(::operator new(10), 0);
        EXPECT_EQ(ends, 5);
        cell.set(new MsgStruct, 0);
        cell.set(new Probe(&ends), 0);
    }
    EXPECT_EQ(ends, 6);
}

TEST(ValueElem, ReferredToValuesAreLeftAloneAndNumbersKeepTheFlag) {
    int ends = 0;
    Probe object(&ends);
    char text[] = "text";
    ValueElem cell(text, 1);
    cell.set(5);
    EXPECT_EQ(cell.ref(), 1);
    EXPECT_EQ(cell.gets32(), 5);
    cell.set(&object, 1);
    const ValueElem number(6);
    cell.set(&number);
    EXPECT_EQ(cell.ref(), 1);
    cell.set(heap_str("owned"), 0);
    EXPECT_EQ(cell.ref(), 0);
    EXPECT_EQ(ends, 0);
}

TEST(ValueElem, DeepCopyIsIndependentAndCarriesTheAnnotations) {
    VList* inner = new VList;
    inner->append("deep", 1);
    inner->append(static_cast<VList*>(nullptr), 0);
    ValueElem from(inner, 0);
    from.set_auxtype(1);
    from.set_atype(2);
    from.set_otype(0x10);
    from.set_vscope(host_specific);
    ValueElem to(9);
    to.set_otype(0x01);
    to.set(&from);
    ASSERT_EQ(to.vtype(), VTYPE_VLIST);
    EXPECT_NE(to.getvlist(), inner);
    EXPECT_NE(to.getvlist()->head()->getstr(), inner->head()->getstr());
    EXPECT_EQ(to.getvlist()->head()->ref(), 0);
    EXPECT_EQ(to.compare(&from, true), 1);
    EXPECT_EQ(to.auxtype(), 1);
    EXPECT_EQ(to.atype(), 2);
    EXPECT_EQ(to.otype(), 0x11);
    EXPECT_EQ(to.vscope(), host_generic);

    ValueElem packed(heap_str("packed"), 0);
    packed.set_bal(100);
    to.set(&packed);
    EXPECT_STREQ(to.getstr(), "packed");
    EXPECT_EQ(to.bal(), 0); // the copy has no room

    unsigned char bytes[3] = {0, 1, 2};
    ValueElem block(bytes, 1);
    block.set_size(3);
    to.set(&block);
    EXPECT_NE(to.getptr(), bytes);
    EXPECT_EQ(memcmp(to.getptr(), bytes, 3), 0);
    EXPECT_EQ(to.size(), 3);
    EXPECT_EQ(to.ref(), 0);
}

TEST(ValueElem, DeepCopyOfWhatHasNoCopyIsEmpty) {
    HashTable hash;
    ValueArray array(1);
    int ends = 0;
    Probe object(&ends);
    const ValueElem a(&hash, 1), b(&array, 1), c(&object, 1);
    for (const ValueElem* from : {&a, &b, &c}) {
        ValueElem to(heap_str("old"), 0);
        to.set(from);
        EXPECT_EQ(to.vtype(), VTYPE_NULL);
    }
}

TEST(ValueElem, DeepCopySurvivesSourceInsideTarget) {
    VList* outer = new VList;
    outer->append(heap_str("inner"), 0);
    ValueElem cell(outer, 0);
    cell.set(cell.getvlist()->head()->value());
    EXPECT_STREQ(cell.getstr(), "inner");
    cell.set(&cell);
    EXPECT_STREQ(cell.getstr(), "inner");
}

TEST(ValueElem, Compare) {
    VList abc, ABC, two;
    abc.append("abc", 1);
    ABC.append("ABC", 1);
    two.append("abc", 1), two.append(1);
    NVList names;
    char block[2];
    const ValueElem null, s8('a'), s32(97), other(98), lower("abc", 1), upper("ABC", 1),
        no_string(static_cast<char*>(nullptr), 1), vp(static_cast<void*>(block), 1),
        vq(static_cast<void*>(block + 1), 1), l1(&abc, 1), l2(&ABC, 1), l3(&two, 1), nv(&names, 1);
    const struct {
        const char* name;
        const ValueElem &a, &b;
        int any_case, same_case;
    } cases[] = {
        {"nothing", null, null, 1, 1},
        {"equal numbers of other widths", s8, s32, 0, 0},
        {"numbers", s32, other, 0, 0},
        {"same number", s32, s32, 1, 1},
        {"case", lower, upper, 1, 0},
        {"null string", lower, no_string, 0, 0},
        {"null strings", no_string, no_string, 1, 1},
        {"same block", vp, vp, 1, 1},
        {"other block", vp, vq, 0, 0},
        {"lists ignore case", l1, l2, 1, 1},
        {"list lengths", l1, l3, 0, 0},
        {"same name-value list", nv, nv, 0, 0},
        {"string and list", lower, l1, 0, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.a.compare(&c.b, false), c.any_case);
        EXPECT_EQ(c.a.compare(&c.b, true), c.same_case);
    }
    int ends = 0;
    Probe object(&ends);
    const ValueElem o(&object, 1);
    EXPECT_EQ(o.compare(&null, false), 0);
    EXPECT_DEATH(o.compare(&o, false), "expression \\(0\\)");
}

TEST(ValueElem, PrintShowsTypeAndValue) {
    const unsigned char header[36] = {0, 0, 0x0e, 1, 0, 0, 0, 3, 0, 0, 0,    0,
                                      0, 0, 0,    0, 0, 0, 0, 0, 0, 0, 0x10, 0};
    int ends = 0;
    Probe object(&ends);
    HashTable hash;
    NVList names;
    names.append("n", "v", 1);
    VList all;
    all.append();
    all.append('a'), all.append(short{-2}), all.append(3), all.append("s", 1);
    all.append(const_cast<unsigned char*>(header), 1);
    all.append(const_cast<unsigned char*>(header), 1)->set_size(35);
    all.append(&names, 1), all.append(&object, 1), all.append(&hash, 1);
    testing::internal::CaptureStdout();
    all.print();
    fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "VTYPE_VLIST \n\t\tBegin elements are ...\n"
              "VTYPE_NULL\nVTYPE_S8 (97)\nVTYPE_S16 (-2)\nVTYPE_S32 (3)\nVTYPE_STR (s)\n"
              "VTYPE_PTR msg(e01) channel(3) flags(1000)\nVTYPE_PTR msg(0) channel(0) flags(0)\n"
              "VTYPE_NVLIST \n\t\tBegin elements are ...\n\tBegin NVElem (n)\n\tValue is ...\nVTYPE_STR (v)\n"
              "\tEnd NVElem (n)\n\t\tEnd elements are ... (for NVLIST)\n"
              "[Probe object]\nUnknown type\n"
              "\t\tEnd elements are ... (for VLIST)\n");
}

} // namespace
