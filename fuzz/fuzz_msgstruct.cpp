// Builds a message by the operations that the input spells, keeps a plain model of what it must hold, and
// checks after each step that the encoding decodes to the model and that the index agrees with both.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "primitives/message/MsgStruct.h"
#include "primitives/values/VList.h"
#include "support/MsgBytes.h"
#include "support/MsgDecoder.h"

namespace {

#define REQUIRE(cond)                                                                                        \
    do {                                                                                                     \
        if (!(cond)) {                                                                                       \
            std::fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #cond);                                  \
            std::abort();                                                                                    \
        }                                                                                                    \
    } while (0)

struct Item {
    char type;
    int32_t s32 = 0;
    std::string bytes;
    int inner = 0;                 // value of element 1 in a nested message
    MsgStruct* referred = nullptr; // the nested message itself, when only referred to
};

struct Elems {
    bool vector;
    std::vector<Item> items;
};

class Input {
public:
    Input(const uint8_t* data, size_t size) : _p(data), _end(data + size) {}
    bool empty() const { return _p == _end; }
    int byte() { return empty() ? 0 : *_p++; }
    int16_t id() { // mostly a few ids, so that they meet; now and then one outside the range
        const int b = byte();
        return static_cast<int16_t>(b < 250 ? b % 6 : (b - 252) * 40);
    }
    std::string text(bool with_nul) {
        const int b = byte();
        std::string s(static_cast<size_t>(b < 200 ? b : (b - 199) * 20), static_cast<char>(byte()));
        if (with_nul) s.push_back('\0');
        return s;
    }

private:
    const uint8_t* _p;
    const uint8_t* _end;
};

class Session {
public:
    explicit Session(Input in) : _in(in) {}

    void run() {
        for (int steps = 0; !_in.empty() && steps < 60; ++steps) {
            step();
            check(*_msg);
        }
        check_copy();
    }

private:
    // An item from the input, and how to hand it over. Nested messages start with element 1.
    Item make_item(int kind) {
        Item item{};
        switch (kind % 4) {
        case 0: item.type = 'C', item.s32 = _in.byte() * -0x00800101; break;
        case 1: item.type = 'F', item.bytes = _in.text(/*with_nul=*/_in.byte() % 4 != 0); break;
        case 2: item.type = 'G', item.bytes = _in.text(/*with_nul=*/false); break;
        default: item.type = 'S', item.inner = _in.byte(); break;
        }
        // A length of 0 means the whole text up to its NUL.
        if (item.type == 'F' && item.bytes.empty()) item.bytes.push_back('\0');
        return item;
    }

    static int32_t length(const Item& item) { return static_cast<int32_t>(item.bytes.size()); }
    static const void* block(const Item& item) { return item.bytes.data(); }

    static std::unique_ptr<MsgStruct> make_nested(int inner) {
        auto nested = std::make_unique<MsgStruct>();
        nested->add_elem(1, inner);
        nested->append_elem(2, std::string(static_cast<size_t>(inner), 'n').c_str(), 0);
        if (inner % 2 != 0) nested->addeom();
        return nested;
    }

    template <class Call>
    msg_result nest(Item& item, Call call) {
        std::unique_ptr<MsgStruct> nested = make_nested(item.inner);
        if (item.inner % 3 == 0) {
            item.referred = nested.get();
            _referred.push_back(std::move(nested));
            const msg_result rc = call(item.referred, true);
            REQUIRE(item.referred->is_modifiable() == (rc != MSG_SOK));
            return rc;
        }
        const msg_result rc = call(nested.get(), false);
        if (rc == MSG_SOK) nested.release();
        return rc;
    }

    static bool valid(int16_t id) { return id >= 0 && id <= MSG_MAX_ID; }
    bool present(int16_t id) const { return _model.count(id) != 0; }

    void step() {
        const int op = _in.byte();
        const int16_t id = _in.id();
        switch (op % 8) {
        case 0: add(id, make_item(op / 8 % 3)); break;
        case 1:
        case 2:
        case 3: append(id, make_item(op / 8)); break;
        case 4: append_list(id, op / 8); break;
        case 5: set(id, make_item(op / 8), op >= 192); break;
        case 6: remove(id); break;
        default: close(); break;
        }
    }

    void add(int16_t id, const Item& item) {
        const msg_result rc = item.type == 'C'   ? _msg->add_elem(id, item.s32)
                              : item.type == 'F' ? _msg->add_elem(id, item.bytes.c_str(), length(item))
                                                 : _msg->add_elem(id, block(item), length(item));
        REQUIRE(rc == (!valid(id) ? MSG_EBADID : present(id) ? MSG_EEXISTS : MSG_SOK));
        if (rc == MSG_SOK) _model[id] = {false, {item}};
    }

    void append(int16_t id, Item item) {
        msg_result rc;
        switch (item.type) {
        case 'C': rc = _msg->append_elem(id, item.s32); break;
        case 'F': rc = _msg->append_elem(id, item.bytes.c_str(), length(item)); break;
        case 'G': rc = _msg->append_elem(id, block(item), length(item)); break;
        default:
            rc = nest(item, [&](MsgStruct* nested, bool ref) { return _msg->append_elem(id, nested, ref); });
        }
        REQUIRE(rc == (!valid(id)                             ? MSG_EBADID
                       : present(id) && !_model.at(id).vector ? MSG_EBADOP
                                                              : MSG_SOK));
        if (rc != MSG_SOK) return;
        Elems& elems = _model[id];
        elems.vector = true;
        elems.items.push_back(item);
    }

    // Appends a list that gives the values of another id back, or ends in a value without encoding.
    void append_list(int16_t id, int choice) {
        const auto source = static_cast<int16_t>(choice % 6);
        std::unique_ptr<VList> list(_msg->get_vlist(source));
        REQUIRE((list != nullptr) == present(source));
        if (list == nullptr) return;
        REQUIRE(static_cast<size_t>(list->count()) == _model.at(source).items.size());
        if (list->count() > 20) return; // else a list appended to itself doubles at every step
        const bool bad = choice >= 24;
        // A referred-to message may be nested a second time, but then neither id may give it back alone.
        for (const Item& item : _model.at(source).items)
            if (item.referred != nullptr) return;
        if (bad) list->append(short{1});
        std::vector<Item> items = copies(_model.at(source).items);
        const msg_result rc = _msg->append_elem(id, list.get());
        if (!valid(id)) {
            REQUIRE(rc == MSG_EBADID);
        } else if (present(id) && !_model.at(id).vector) {
            REQUIRE(rc == MSG_EBADOP);
            _model.erase(id);
        } else if (bad) {
            REQUIRE(rc == MSG_EINVAL);
            release(id);
        } else {
            REQUIRE(rc == MSG_SOK);
            Elems& elems = _model[id];
            elems.vector = true;
            for (Item& item : items) {
                if (item.type == 'F' && item.bytes.back() != '\0') item.bytes.push_back('\0');
                elems.items.push_back(std::move(item));
            }
        }
    }

    void set(int16_t id, Item item, bool negative) {
        msg_result rc;
        bool fails = false;
        switch (item.type) {
        case 'C': rc = _msg->set(id, item.s32); break;
        case 'F':
            fails = negative;
            rc = _msg->set(id, item.bytes.c_str(), negative ? -length(item) : length(item));
            break;
        case 'G':
            fails = negative && length(item) > 0;
            rc = _msg->set(id, block(item), negative ? -length(item) : length(item));
            break;
        default: rc = nest(item, [&](MsgStruct* nested, bool ref) { return _msg->set(id, nested, ref); });
        }
        REQUIRE(rc == (!present(id) ? MSG_EBADID : fails ? MSG_EINVAL : MSG_SOK));
        if (!present(id)) return;
        const Elems old = _model.at(id);
        release(id);
        _model[id] = fails ? Elems{old.vector, copies(old.items)} : Elems{item.type == 'S', {item}};
    }

    void remove(int16_t id) {
        REQUIRE(_msg->del_elem(id) == (present(id) ? MSG_SOK : MSG_EBADID));
        release(id);
    }

    // Forgets the id; messages that it referred to must be open again.
    void release(int16_t id) {
        if (!present(id)) return;
        for (const Item& item : _model.at(id).items) {
            if (item.referred == nullptr) continue;
            REQUIRE(item.referred->is_modifiable() && !item.referred->has_eom());
            REQUIRE(item.referred->add_elem(3, 3) == MSG_SOK);
        }
        _model.erase(id);
    }

    void close() {
        REQUIRE(_msg->addeom() == MSG_SOK && _msg->has_eom());
        uint32_t size = 0;
        REQUIRE(MsgDecoder::decode(msg_bytes(*_msg), &size)->eom);
        REQUIRE(size == static_cast<uint32_t>(_msg->getnwsize()));
    }

    // What a copy of the items holds: strings end at their first NUL, nested messages are owned.
    static std::vector<Item> copies(const std::vector<Item>& items) {
        std::vector<Item> copied = items;
        for (Item& item : copied) {
            item.referred = nullptr;
            if (item.type != 'F') continue;
            const size_t nul = item.bytes.find('\0');
            if (nul != std::string::npos) item.bytes.resize(nul + 1);
        }
        return copied;
    }

    static void check_item(const Item& expect, const DecodedItem& found, const MsgElem& elem) {
        REQUIRE(found.type == expect.type && elem.gettype() == static_cast<uint8_t>(expect.type));
        REQUIRE(found.bytes == expect.bytes && found.s32 == expect.s32);
        if (expect.type == 'C') REQUIRE(elem.gets32() == expect.s32 && elem.getnwsize() == 4);
        if (expect.type == 'F' || expect.type == 'G')
            REQUIRE(std::string(elem.getstr(), static_cast<size_t>(elem.getnwsize())) == expect.bytes);
        if (expect.type != 'S') return;
        REQUIRE(found.nested[0].elems.at(1).items[0].s32 == expect.inner);
        REQUIRE(found.nested[0].elems.at(2).items[0].bytes.size() == static_cast<size_t>(expect.inner) + 1);
        REQUIRE(elem.getmsg()->find(1)->gets32() == expect.inner);
        REQUIRE(expect.referred == nullptr || expect.referred == elem.getmsg());
    }

    void check(const MsgStruct& msg) const {
        const std::string bytes = msg_bytes(msg);
        REQUIRE(bytes.size() == static_cast<size_t>(msg.getnwsize()) + 11);
        const auto decoded = MsgDecoder::decode(bytes);
        REQUIRE(decoded.has_value() && decoded->eom == msg.has_eom());
        REQUIRE(decoded->elems.size() == _model.size());
        for (const auto& [id, elems] : _model) {
            const DecodedElems& found = decoded->elems.at(id);
            REQUIRE(found.vector == elems.vector && found.items.size() == elems.items.size());
            REQUIRE(msg.getcount(id) == elems.items.size());
            const MsgElem* elem = msg.find(id);
            for (size_t i = 0; i < elems.items.size(); ++i, elem = elem->next())
                check_item(elems.items[i], found.items[i], *elem);
            REQUIRE(elem == nullptr);
        }
    }

    // The copy outlives the message and holds each id in one piece.
    void check_copy() {
        std::unique_ptr<MsgStruct> copy(_msg->deep_dup());
        REQUIRE(copy != nullptr && copy->is_modifiable());
        _msg.reset();
        for (auto& [id, elems] : _model) elems.items = copies(elems.items);
        check(*copy);
        const auto decoded = MsgDecoder::decode(msg_bytes(*copy));
        for (const auto& [id, elems] : decoded->elems) REQUIRE(elems.segments == 1);
        REQUIRE(decoded->order.size() == _model.size());
    }

    Input _in;
    std::vector<std::unique_ptr<MsgStruct>> _referred; // outlive the message
    std::unique_ptr<MsgStruct> _msg = std::make_unique<MsgStruct>();
    std::map<int16_t, Elems> _model;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Session(Input(data, size)).run();
    return 0;
}
