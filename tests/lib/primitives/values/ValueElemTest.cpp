#include "primitives/values/ValueElem.h"

#include "ValuesSupport.h"
#include "primitives/message/MsgStruct.h"
#include "primitives/values/HashTable.h"
#include "primitives/values/ValueArray.h"

static_assert(!is_cell_value<long> && !is_cell_value<unsigned> && !is_cell_value<double>,
              "no silent narrowing");
static_assert(!is_cell_value<std::nullptr_t, int> && !is_cell_value<const char*>, "no guessing");

// Owned values are freed exactly once, whether the cell ends or gets another value; the leak and address
// checkers see the strings and blocks, the probes count.
TEST(ValueElem, OwnedValuesEndOnceAndReferredToOnesStay) {
    int ends = 0;
    Probe mine(&ends);
    for (const bool renewed : {false, true}) {
        SCOPED_TRACE(renewed);
        ends = 0;
        auto* outer = new VList;
        auto* list = new VList;
        auto* names = new NVList;
        auto* array = new ValueArray(3);
        auto* hash = new HashTable;
        hash->init(5, ht_func);
        list->append(new Probe(&ends), 0), names->append("n", new Probe(&ends), 0);
        array->value(2)->set(new Probe(&ends), 0), hash->append("k", new Probe(&ends), 0);
        outer->append(list, 0), outer->append(names, 0), outer->append(array, 0), outer->append(hash, 0);
        outer->append(heap_str("s"), 0), outer->append(::operator new(10), 0);
        outer->append(new MsgStruct, 0), outer->append(&mine, 1);
        for (VElem* e = outer->head(); renewed && e != nullptr; e = e->next()) e->set(5);
        EXPECT_EQ(outer->tail()->ref(), 1) << "numbers keep the flag";
        EXPECT_EQ(ends, renewed ? 4 : 0);
        delete outer;
        EXPECT_EQ(ends, 4);
    }
}

// Its end ends another element too.
struct Chained : BusinessObject {
    explicit Chained(std::function<void()> step) : end(std::move(step)) {}
    ~Chained() override { end(); }
    const char* object_label() const override { return "Chained"; }
    const std::function<void()> end;
};

TEST(ValueElem, TheEndOfAnElementMayEndOthersOfItsContainer) {
    int ends = 0;
    auto* list = new VList;
    auto* names = new NVList;
    HashTable table;
    table.init(3, [](int32_t, const char* key) { return *key - '0'; });
    list->append(new Chained([&] { delete list->head(), delete list->tail(); }), 0);
    names->append("0", new Chained([&] { names->remove("1"); }), 0);
    table.append("0", new Chained([&] { table.remove("2"); }), 0);
    table.append("1", new Chained([&] { table.remove("0"); }), 0);
    for (const char* name : {"1", "2"}) names->append(name, new Probe(&ends), 0);
    for (int i = 0; i < 3; ++i) list->append(new Probe(&ends), 0);
    table.append("2", new Probe(&ends), 0);
    delete list, delete names;
    table.init(1, ht_func);
    EXPECT_EQ(ends, 6);
}

TEST(ValueElem, DeepCopyIsIndependentAndCarriesTheAnnotations) {
    unsigned char bytes[3] = {0, 1, 2};
    char packed[] = "packed";
    NVList names;
    MsgStruct msg;
    ValueArray array(1);
    auto* inner = new VList;
    inner->append("deep", 1), inner->append(short{2}), inner->append(bytes, 1)->set_size(3);
    inner->append(packed, 1)->set_bal(100), inner->append(&names, 1), inner->append(&msg, 1);
    inner->append(&array, 1);
    ValueElem from(inner, 0), to(9);
    from.set_auxtype(1), from.set_atype(2), from.set_otype(0x10), to.set_otype(0x01);
    to.set(&from);
    EXPECT_EQ(to.auxtype() * 0x10000 + to.atype() * 0x100 + to.otype(), 0x10211);

    const VList& copy = *to.getvlist();
    EXPECT_TRUE(copy.head()->ref() == 0 && copy.inquire(1)->vtype() == VTYPE_S16);
    const VElem* block = copy.inquire(2);
    EXPECT_TRUE(block->getptr() != bytes && block->size() == 3 && memcmp(block->getptr(), bytes, 3) == 0);
    EXPECT_EQ(copy.inquire(3)->bal(), 0) << "the copy has no room";
    EXPECT_TRUE(copy.inquire(4)->getnvlist() != &names && copy.inquire(5)->getmsg() != &msg);
    EXPECT_EQ(copy.tail()->vtype(), VTYPE_NULL) << "arrays have no copy";

    to.set(to.getvlist()->head()->value()); // the source lies inside the target
    to.set(&to);
    to.set(to.getstr(), 0);
    EXPECT_STREQ(to.getstr(), "deep");
}

TEST(ValueElem, Compare) {
    VList abc, ABC, two;
    abc.append("abc", 1), ABC.append("ABC", 1), two.append("abc", 1), two.append(1);
    NVList names;
    const ValueElem s8('a'), s32(97), other(98), lower("abc", 1), upper("ABC", 1),
        no_string(static_cast<char*>(nullptr), 1), block(static_cast<void*>(&abc), 1), list(&abc, 1),
        LIST(&ABC, 1), longer(&two, 1), nv(&names, 1);
    const std::tuple<const ValueElem&, const ValueElem&, int, int> cases[] = {
        // ignoring case, and not
        {s8, s32, 0, 0},          {s32, other, 0, 0},   {lower, upper, 1, 0},
        {lower, no_string, 0, 0}, {block, block, 1, 1}, {list, LIST, 1, 1},
        {list, longer, 0, 0},     {nv, nv, 0, 0},       {no_string, no_string, 1, 1}};
    for (const auto& [a, b, any_case, same_case] : cases) {
        EXPECT_EQ(a.compare(&b, false), any_case) << int{a.vtype()};
        EXPECT_EQ(a.compare(&b, true), same_case) << int{a.vtype()};
    }
}
