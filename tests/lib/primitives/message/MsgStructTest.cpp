// Messages: their bytes, what is refused, lists and owners, a lack of memory, and the standard headers.
#include "primitives/message/MsgStruct.h"

#include <chrono>
#include <climits>
#include <random>

#include <gmock/gmock.h>

#include "primitives/message/ipm_messages.h"
#include "primitives/values/VList.h"
#include "support/FailingMalloc.h"
#include "support/MsgBytes.h"
#include "support/MsgDecoder.h"

using namespace std::string_literals;
using testing::ElementsAre;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

const std::string NO_HEADER(36, '\0'); // a header whose fields are all 0

// Decodes a message after checking that its size agrees with its bytes.
DecodedMsg decoded(const MsgStruct& msg) {
    const std::string bytes = msg_bytes(msg);
    EXPECT_EQ(static_cast<size_t>(msg.getnwsize()) + 11, bytes.size());
    return MsgDecoder::decode(bytes).value(); // throws when they are not well-formed
}

TEST(MsgStruct, EncodesEveryKindByteByByte) {
    MsgStruct msg;
    MsgStruct inner;
    inner.add_elem(1, 2);
    msg.add_elem(5, -2);
    msg.add_elem(78, "hi", 0);
    msg.add_elem(0, "hi", 2); // length without the NUL
    msg.add_elem(6, static_cast<const void*>("\0\xFF"), 2);
    msg.append_elem(22, "a", 0);
    msg.append_elem(22, 0x01020304);
    msg.append_elem(22, static_cast<const void*>(""), 0);
    msg.append_elem(22, &inner, /*ref=*/true);
    EXPECT_DEATH(inner.add_elem(2, 1), "ASSERTION FAILED.*is_modifiable\\(\\)") << "closed by the nesting";
    msg.del_elem(5);
    msg.append_elem(5, 1);                                        // may come back as a vector
    msg.append_elem(22, "b", 0);                                  // the other id opens another segment
    for (int i = 0; i < 2; ++i) EXPECT_EQ(MSG_SOK, msg.addeom()); // but one marker
    EXPECT_EQ("IPM\1\0\0\0\0\0\0\xA8R\0\0\0\x24"s + NO_HEADER +
                  "C\xFF\xFF\xFF\xFF\xFF\xFE"
                  "F\0\x4E\0\0\0\3hi\0"
                  "F\0\0\0\0\0\2hi"
                  "G\0\6\0\0\0\2\0\xFF"
                  "P\0\x16"
                  "F\0\0\0\2a\0"
                  "C\1\2\3\4G\0\0\0\0SR\0\0\0\x24"s +
                  NO_HEADER +
                  "C\0\1\0\0\0\2H\0"
                  "P\0\5C\0\0\0\1\0"
                  "P\0\x16"
                  "F\0\0\0\2b\0\0H"s,
              msg_bytes(msg));
}

// The model of the fuzz target beside the message, over steps that dice choose.
TEST(MsgStruct, BehavesLikeAModelUnderRandomOperations) {
    std::mt19937 random(1);
    for (int session = 0; session < 400; ++session) {
        std::vector<uint8_t> steps(400);
        for (uint8_t& byte : steps) byte = static_cast<uint8_t>(random());
        LLVMFuzzerTestOneInput(steps.data(), steps.size());
    }
}

TEST(MsgStruct, RefusesWithoutChange) {
    MsgStruct msg, inner;
    msg.append_elem(6, 1);
    msg.addeom();
    const std::string before = msg_bytes(msg);
    const char* none = nullptr;
    const void* block = "x";
    for (const int16_t id : {int16_t{-1}, int16_t{79}}) {
        EXPECT_EQ(MSG_EBADID, msg.add_elem(id, none, 0)) << "scalars look at the id first";
        EXPECT_EQ(MSG_EINVAL, msg.append_elem(id, none, 0)) << "vectors look at the data first";
        for (const msg_result rc : {msg.append_elem(id, 1), msg.del_elem(id), msg.set(id, 1)})
            EXPECT_EQ(MSG_EBADID, rc);
        EXPECT_TRUE(msg.find(id) == nullptr && msg.getcount(id) == 0);
    }
    for (const msg_result rc : {msg.add_elem(7, none, 0), msg.add_elem(7, "x", -1),
                                msg.append_elem(7, block, INT_MIN), msg.append_elem(7, &msg, /*ref=*/true)})
        EXPECT_EQ(MSG_EINVAL, rc);
    EXPECT_EQ(MSG_ENOMEM, msg.add_elem(7, block, INT_MAX)) << "refused before the block is read";
    EXPECT_EQ(MSG_ENOMEM, msg.append_elem(7, block, INT_MAX - 40));
    for (const int32_t wrong : {0, 40, 42, INT_MAX}) { // nested, with a size that is not its own
        inner.setnwsize(wrong);
        const msg_result rc = msg.append_elem(7, &inner, /*ref=*/true);
        EXPECT_EQ(wrong == INT_MAX ? MSG_ENOMEM : wrong == 0 ? MSG_EBUFLEN : MSG_EMSG, rc) << wrong;
        EXPECT_TRUE(inner.is_modifiable() && !inner.has_eom());
    }
    EXPECT_EQ(before, msg_bytes(msg)) << "not even the end marker went";
}

// A full first buffer makes each step allocate; the end marker has a buffer of its own.
TEST(MsgStruct, WithoutMemoryNothingChangesButTheEndMarker) {
    MsgStruct inner;
    VList list;
    list.append(1), list.append("text", 1), list.append(new MsgStruct, 0), list.append(&inner, 1);
    const std::string large(300, 'x');
    auto* owned = new MsgStruct;
    const std::function<msg_result(MsgStruct&)> actions[] = {
        [&](MsgStruct& m) { return m.append_elem(6, &list); }, // which drops what it had begun
        [&](MsgStruct& m) { return m.add_elem(5, large.c_str(), 0); },
        [](MsgStruct& m) { return m.append_elem(2, 7); },
        [&](MsgStruct& m) { return m.append_elem(5, large.c_str(), 0); },
        [&](MsgStruct& m) { return m.append_elem(5, owned, /*ref=*/false); },
        [](MsgStruct& m) { return m.set(1, "other", 0); },
        [](MsgStruct& m) {
            return std::unique_ptr<MsgStruct>(m.deep_dup()) != nullptr ? MSG_SOK : MSG_ENOMEM;
        },
    };
    for (const auto& action : actions) {
        MsgStruct msg;
        msg.add_elem(1, std::string(58, 'a').c_str(), 0), msg.append_elem(2, "", 0);
        ASSERT_EQ(128, msg.getnwbufferlist()->tail()->getbuffersize());
        msg.addeom();
        const auto elements = [&] { return msg_bytes(msg).substr(52); }; // behind the header
        const std::string before = elements();
        msg_result result{};
        const auto check = [&] {
            EXPECT_EQ(MSG_ENOMEM, result);
            decoded(msg);
            EXPECT_TRUE(&action == actions || elements() == before || elements() + "H" == before);
        };
        EXPECT_LE(1, until_memory_suffices([&] { return (result = action(msg)) == MSG_SOK; }, check));
    }
}

TEST(MsgStruct, LongListsOfLargeItemsTakeLinearTime) {
    constexpr uint32_t ITEMS = 40'000; // 13 seconds when each item looks for its buffer from the first on
    const std::string item(300, 'x');
    const auto start = std::chrono::steady_clock::now();
    MsgStruct msg;
    for (uint32_t i = 0; i < ITEMS; ++i) msg.append_elem(22, item.c_str(), 0);
    const std::unique_ptr<VList> list(msg.get_vlist(22));
    MsgStruct again;
    EXPECT_EQ(MSG_SOK, again.append_elem(22, list.get()));
    EXPECT_EQ(ITEMS, std::unique_ptr<MsgStruct>(again.deep_dup())->getcount(22));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

TEST(MsgStruct, ListsKeepTheOwnersOfTheirItemsAndSetReplacesAll) {
    MsgStruct msg, referred;
    auto* owned = new MsgStruct;
    owned->add_elem(1, 12);
    VList list, empty, bad;
    list.append("text", 1), list.append(&referred, 1), list.append(owned, 0);
    bad.append(1), bad.append(static_cast<const char*>(nullptr), 1);
    EXPECT_EQ(MSG_EFAIL, msg.append_elem(8, &empty));
    ASSERT_EQ(MSG_SOK, msg.append_elem(8, &list));
    EXPECT_TRUE(owned->is_modifiable()) << "a copy of it was nested";
    const std::unique_ptr<VList> back(msg.get_vlist(8));
    ASSERT_EQ(3, back->count());
    EXPECT_EQ(msg.find(8)->getstr(), back->inquire(0)->getstr()) << "refers to the message";
    EXPECT_EQ(&referred, back->inquire(1)->getmsg());
    EXPECT_EQ(12, back->inquire(2)->getmsg()->find(1)->gets32());
    EXPECT_TRUE(back->inquire(2)->getmsg()->is_modifiable());

    EXPECT_EQ(MSG_EINVAL, msg.set(8, &bad));
    EXPECT_EQ(MSG_SOK, msg.append_elem(8, 3));
    EXPECT_EQ(4u, decoded(msg).elems[8].items.size()) << "the old elements are back, and none is deleted";
    EXPECT_EQ(MSG_SOK, msg.set(8, msg.find(8)->getstr(), 0)) << "its own bytes";
    EXPECT_STREQ("text", msg.find(8)->getstr());
    EXPECT_DEATH(msg.set(8, &list), "\\(0 != elemlist\\) && \\(elemlist->is_vector\\(\\)\\)");
    for (int i = 0; i < 2; ++i) EXPECT_EQ(MSG_SOK, msg.set(8, &referred, /*ref=*/true));
    EXPECT_FALSE(referred.is_modifiable());
    EXPECT_EQ(MSG_SOK, msg.set(8, back.get()));
}

TEST(MessageHdr, StandardMessagesTheirFlagsAndCopies) {
    _guid = 99; // stamped, unless threads stamp their own
    const std::unique_ptr<MsgStruct> ipm(mk_ipm_msg(2056)), ucast(mk_ucast_msg(0x0E05, 42));
    MsgHdr_t* hdr = ipm->gethdr();
    EXPECT_TRUE(!hdr->isError() && ucast->gethdr()->isError());
    hdr->setFlagsBits(0x1001), hdr->setExtFlagsBits(3);
    hdr->clearFlagsBits(0x1000), hdr->clearExtFlagsBits(2);
    ipm->append_elem(30, "later", 0);
    ipm->add_elem(10, "earlier", 0);
    ipm->setctime(77);
    ipm->addeom();
    const std::unique_ptr<MsgStruct> copy(ipm->deep_dup()); // takes neither the end marker nor the time
    const DecodedMsg d = decoded(*copy);
    EXPECT_THAT(d.header, ElementsAre(2056, 1, 0, 0, 0, 1, 0x7000000, 1, 99));
    EXPECT_THAT(d.order, ElementsAre(10, 30));
    EXPECT_TRUE(!d.eom && copy->getctime() == 0);
    EXPECT_THAT(decoded(*ucast).header, ElementsAre(0x0E05, 3, 42, 0, 0, 0, 0x7000000, 0, 0));
    is_mt = 1;
    initializeHeader(hdr);
    EXPECT_EQ(0, hdr->getReserved());
    is_mt = 0;
}

} // namespace
