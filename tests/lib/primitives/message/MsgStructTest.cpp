#include "primitives/message/MsgStruct.h"

#include <chrono>
#include <climits>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

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

constexpr size_t FIRST_ELEMENT = 52;

std::string elements_of(const MsgStruct& msg) {
    return msg_bytes(msg).substr(FIRST_ELEMENT);
}

// Decodes a message after checking that its size agrees with its bytes.
DecodedMsg decoded(const MsgStruct& msg) {
    const std::string bytes = msg_bytes(msg);
    EXPECT_EQ(static_cast<size_t>(msg.getnwsize()) + 11, bytes.size());
    const auto result = MsgDecoder::decode(bytes);
    EXPECT_TRUE(result.has_value()) << "not well-formed";
    return result.value_or(DecodedMsg{});
}

TEST(MsgStruct, NewMessageIsItsHeaderAlone) {
    MsgStruct msg;
    EXPECT_EQ(41, msg.getnwsize());
    for (int i = 0; i < 2; ++i) EXPECT_EQ(MSG_SOK, msg.addeom()); // but one marker
    EXPECT_EQ("IPM\1\0\0\0\0\0\0\x2AR\0\0\0\x24"s + std::string(36, '\0') + "H", msg_bytes(msg));
}

TEST(MsgStruct, EncodesEveryKindByteByByte) {
    MsgStruct msg;
    MsgStruct inner;
    inner.add_elem(1, 2);
    EXPECT_EQ(MSG_SOK, msg.add_elem(5, -2));
    EXPECT_EQ(MSG_SOK, msg.add_elem(78, "hi", 0));
    EXPECT_EQ(MSG_SOK, msg.add_elem(0, "hi", 2)) << "length without the NUL";
    EXPECT_EQ(MSG_SOK, msg.add_elem(6, static_cast<const void*>("\0\xFF"), 2));
    EXPECT_EQ(MSG_SOK, msg.append_elem(22, "a", 0));
    EXPECT_EQ(MSG_SOK, msg.append_elem(22, 0x01020304));
    EXPECT_EQ(MSG_SOK, msg.append_elem(22, static_cast<const void*>(""), 0));
    EXPECT_EQ(MSG_SOK, msg.append_elem(22, &inner, /*ref=*/true));
    EXPECT_DEATH(inner.add_elem(2, 1), "ASSERTION FAILED.*is_modifiable\\(\\)") << "closed by the nesting";
    EXPECT_EQ(MSG_SOK, msg.del_elem(5));
    EXPECT_EQ(MSG_SOK, msg.append_elem(5, 1)) << "may come back as a vector";
    EXPECT_EQ(MSG_SOK, msg.append_elem(22, "b", 0)) << "the other id opens another segment";
    EXPECT_EQ("C\xFF\xFF\xFF\xFF\xFF\xFE"s
              "F\0\x4E\0\0\0\3hi\0"s
              "F\0\0\0\0\0\2hi"s
              "G\0\6\0\0\0\2\0\xFF"s
              "P\0\x16"
              "F\0\0\0\2a\0"s
              "C\1\2\3\4G\0\0\0\0SR\0\0\0\x24"s +
                  std::string(36, '\0') +
                  "C\0\1\0\0\0\2H\0"
                  "P\0\5C\0\0\0\1\0"
                  "P\0\x16"
                  "F\0\0\0\2b\0\0"s,
              elements_of(msg));
    EXPECT_EQ(5u, msg.getcount(22));
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
    MsgStruct msg;
    msg.add_elem(5, 7);
    msg.append_elem(6, 1);
    msg.addeom();
    const std::string before = msg_bytes(msg);
    const char* none = nullptr;
    const void* block = "x";
    EXPECT_EQ(MSG_EEXISTS, msg.add_elem(5, 7));
    EXPECT_EQ(MSG_EBADOP, msg.append_elem(5, 1));
    for (const int16_t id : {int16_t{-1}, int16_t{79}}) {
        EXPECT_EQ(MSG_EBADID, msg.add_elem(id, none, 0)) << "scalars look at the id first";
        EXPECT_EQ(MSG_EINVAL, msg.append_elem(id, none, 0)) << "vectors look at the data first";
        for (const msg_result rc : {msg.append_elem(id, 1), msg.del_elem(id), msg.set(id, 1)})
            EXPECT_EQ(MSG_EBADID, rc);
        EXPECT_TRUE(msg.find(id) == nullptr && msg.getcount(id) == 0);
    }
    EXPECT_EQ(MSG_EINVAL, msg.add_elem(7, none, 0));
    EXPECT_EQ(MSG_EINVAL, msg.add_elem(7, "x", -1));
    EXPECT_EQ(MSG_EINVAL, msg.append_elem(7, block, INT_MIN));
    EXPECT_EQ(MSG_EINVAL, msg.append_elem(7, &msg, true)) << "itself";
    EXPECT_EQ(MSG_ENOMEM, msg.add_elem(7, block, INT_MAX)) << "refused before the block is read";
    EXPECT_EQ(MSG_ENOMEM, msg.append_elem(7, block, INT_MAX - 40));
    EXPECT_EQ(MSG_EBADID, msg.set(7, 1)) << "set creates nothing";
    EXPECT_EQ(0u, msg.getcount(7));
    EXPECT_EQ(before, msg_bytes(msg)) << "not even the end marker went";
}

// A full first buffer makes each step allocate; the end marker has a buffer of its own.
TEST(MsgStruct, WithoutMemoryNothingChangesButTheEndMarker) {
    MsgStruct inner;
    VList list;
    list.append(1), list.append("text", 1), list.append(new MsgStruct, 0), list.append(&inner, 1);
    inner.append_elem(3, "inner", 0);
    const std::string large(300, 'x');
    auto* owned = new MsgStruct;
    const std::function<msg_result(MsgStruct&)> actions[] = {
        [](MsgStruct& m) { return m.add_elem(5, 7); },
        [&](MsgStruct& m) { return m.add_elem(5, large.c_str(), 0); },
        [](MsgStruct& m) { return m.append_elem(2, 7); },
        [](MsgStruct& m) { return m.append_elem(5, 7); },
        [&](MsgStruct& m) { return m.append_elem(5, large.c_str(), 0); },
        [&](MsgStruct& m) { return m.append_elem(5, owned, /*ref=*/false); },
        [&](MsgStruct& m) { return m.append_elem(6, &list); },
        [](MsgStruct& m) { return m.set(1, "other", 0); },
        [](MsgStruct& m) {
            const std::unique_ptr<MsgStruct> copy(m.deep_dup());
            return copy != nullptr && copy->append_elem(2, "b", 0) == MSG_SOK ? MSG_SOK : MSG_ENOMEM;
        },
    };
    for (const auto& action : actions) {
        SCOPED_TRACE(&action - actions);
        MsgStruct msg;
        msg.add_elem(1, std::string(58, 'a').c_str(), 0), msg.append_elem(2, "", 0);
        ASSERT_EQ(128, msg.getnwbufferlist()->tail()->getbuffersize());
        msg.addeom();
        const bool keeps_all = &action - actions != 6; // a list drops what it had begun
        const std::string before = elements_of(msg);
        msg_result result{};
        const auto check = [&] {
            EXPECT_EQ(MSG_ENOMEM, result);
            decoded(msg);
            const std::string now = elements_of(msg);
            EXPECT_TRUE(!keeps_all || now == before || now + "H" == before);
        };
        const int allocations =
            until_memory_suffices([&] { return (result = action(msg)) == MSG_SOK; }, check);
        EXPECT_LE(1, allocations);
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

TEST(MsgStruct, NestedMessageWithAWrongSizeIsRefused) {
    MsgStruct inner, outer;
    for (const int32_t wrong : {0, 40, 42, INT_MAX}) {
        inner.setnwsize(wrong);
        const msg_result rc = outer.append_elem(3, &inner, true);
        EXPECT_EQ(wrong == INT_MAX ? MSG_ENOMEM : wrong == 0 ? MSG_EBUFLEN : MSG_EMSG, rc) << wrong;
        EXPECT_TRUE(inner.is_modifiable() && !inner.has_eom());
    }
    EXPECT_EQ(41, outer.getnwsize());
}

TEST(MsgStruct, SetTakesItsOwnBytesAndListsOnlyForVectors) {
    MsgStruct msg;
    msg.append_elem(4, "a", 0);
    msg.append_elem(4, "b", 0);
    EXPECT_EQ(MSG_SOK, msg.set(4, msg.find(4)->next()->getstr(), 0));
    EXPECT_STREQ("b", msg.find(4)->getstr());
    VList list, bad;
    list.append(1), list.append("s", 1);
    bad.append(1), bad.append(static_cast<const char*>(nullptr), 1);
    EXPECT_DEATH(msg.set(4, &list),
                 "ASSERTION FAILED.*\\(0 != elemlist\\) && \\(elemlist->is_vector\\(\\)\\)");
    EXPECT_EQ(MSG_SOK, msg.set(4, new MsgStruct, /*ref=*/false));
    EXPECT_EQ(MSG_SOK, msg.set(4, &list));
    EXPECT_EQ(MSG_EINVAL, msg.set(4, &bad));
    EXPECT_EQ(2u, msg.getcount(4)) << "the old elements are back";
    EXPECT_EQ(MSG_SOK, msg.append_elem(4, 3));
    EXPECT_EQ(3u, decoded(msg).elems[4].items.size()) << "in a segment that is not deleted";
    MsgStruct inner;
    for (int i = 0; i < 2; ++i) EXPECT_EQ(MSG_SOK, msg.set(4, &inner, /*ref=*/true));
    EXPECT_FALSE(inner.is_modifiable());
}

TEST(MsgStruct, ListItemsKeepTheirOwner) {
    MsgStruct referred;
    auto* owned = new MsgStruct;
    owned->add_elem(1, 12);
    VList list;
    list.append("text", 1);
    list.append(&referred, 1);
    list.append(owned, 0);
    MsgStruct msg;
    VList empty;
    EXPECT_EQ(MSG_EFAIL, msg.append_elem(8, &empty));
    EXPECT_EQ(MSG_EBADID, msg.append_elem(79, &list));
    ASSERT_EQ(MSG_SOK, msg.append_elem(8, &list));
    EXPECT_TRUE(owned->is_modifiable()) << "a copy of it was nested";

    std::unique_ptr<VList> back(msg.get_vlist(8));
    ASSERT_EQ(3, back->count());
    EXPECT_EQ(msg.find(8)->getstr(), back->inquire(0)->getstr()) << "refers to the message";
    EXPECT_EQ(&referred, back->inquire(1)->getmsg());
    EXPECT_EQ(12, back->inquire(2)->getmsg()->find(1)->gets32());
    EXPECT_TRUE(back->inquire(2)->getmsg()->is_modifiable());
}

TEST(MsgStruct, CopyTakesTheHeaderAndNeitherMarkerNorTime) {
    MsgStruct msg;
    msg.gethdr()->setMessage(0x0E05);
    msg.gethdr()->setReserved(-9);
    msg.append_elem(30, "later", 0);
    msg.add_elem(10, "earlier", 0);
    msg.setctime(77);
    msg.addeom();
    std::unique_ptr<MsgStruct> copy(msg.deep_dup());
    const DecodedMsg d = decoded(*copy);
    EXPECT_THAT(d.header, ElementsAre(0x0E05, 0, 0, 0, 0, 0, 0, 0, -9));
    EXPECT_THAT(d.order, ElementsAre(10, 30));
    EXPECT_FALSE(d.eom);
    EXPECT_EQ(0u, copy->getctime());
}

TEST(MessageHdr, StandardMessagesAndFlagBits) {
    const std::unique_ptr<MsgStruct> ipm(mk_ipm_msg(2056));
    const std::unique_ptr<MsgStruct> ucast(mk_ucast_msg(0x0E05, 42));
    EXPECT_THAT(decoded(*ipm).header, ElementsAre(2056, 1, 0, 0, 0, 0, 0x7000000, 0, 0));
    EXPECT_THAT(decoded(*ucast).header, ElementsAre(0x0E05, 3, 42, 0, 0, 0, 0x7000000, 0, 0));
    EXPECT_TRUE(!ipm->gethdr()->isError() && ucast->gethdr()->isError());
    MsgHdr_t* hdr = ipm->gethdr();
    hdr->setFlagsBits(0x1001), hdr->setExtFlagsBits(3);
    hdr->clearFlagsBits(0x1000), hdr->clearExtFlagsBits(2);
    EXPECT_THAT(decoded(*ipm).header, ElementsAre(2056, 1, 0, 0, 0, 1, 0x7000000, 1, 0));
}

TEST(MessageHdr, GuidIsStampedUnlessThreadsStampTheirOwn) {
    MsgHdr_t hdr;
    hdr.sethdr(new MsgHdr_s{}); // freed by the accessor
    _guid = 99;
    initializeHeader(5, &hdr);
    EXPECT_EQ(99, hdr.getReserved());
    is_mt = 1;
    initializeHeader(&hdr);
    EXPECT_EQ(0, hdr.getReserved());
    is_mt = 0;
    _guid = 0;
}

} // namespace
