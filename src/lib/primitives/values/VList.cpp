// Searching, comparing, packing and rendering a list of values.
#include "primitives/values/VList.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "platform/unix/QENAssert.h"
#include "platform/unix/QENNoCase.h"
#include "primitives/values/NVList.h"

inline namespace taq_1 {

namespace {

constexpr size_t RENDER_SIZE = 4096; // buffer of the renderings, their NUL included
constexpr size_t MIN_NUMBER_ROOM = 4;
constexpr int32_t PACKED_CHARS = 255; // text in one packed string of 256 bytes

const char* text_of(const VElem* velemp) {
    const char* s = velemp->getstr();
    return s != nullptr ? s : "";
}

// How many characters fit a string that concat made: 255 less those that it holds. 0 for any other element,
// also when the string was given away or its text does not agree with its balance.
int32_t packed_room(const VElem* velemp) {
    if (velemp == nullptr || velemp->vtype() != VTYPE_STR || velemp->ref() != 0) return 0;
    const int32_t room = velemp->bal();
    if (room <= 0 || room > PACKED_CHARS || velemp->getstr() == nullptr) return 0;
    const auto used = static_cast<size_t>(PACKED_CHARS - room);
    return strnlen(velemp->getstr(), used + 1) == used ? room : 0;
}

// snprintf into what is left of the buffer; `used` counts the characters that are really there.
template <class... Args>
void render(char* buf, size_t& used, const char* format, Args... args) {
    const int wanted = snprintf(buf + used, RENDER_SIZE - used, format, args...);
    if (wanted > 0) used = std::min(used + static_cast<size_t>(wanted), RENDER_SIZE - 1);
}

} // namespace

VElem* VElem::_link_after(VElem* fresh) {
    QEN_CHECK(_dlink.dlist() != NULL);
    _dlink.append(&fresh->_dlink);
    return fresh;
}

VElem* VElem::_link_before(VElem* fresh) {
    QEN_CHECK(_dlink.dlist() != NULL);
    _dlink.insert(&fresh->_dlink);
    return fresh;
}

VElem* VElem::append(const ValueElem* src) {
    VElem* velemp = append();
    velemp->set(src);
    return velemp;
}

char* VElem::collapse() const {
    size_t total = 0;
    for (const VElem* e = this; e != nullptr; e = e->next())
        if (e->vtype() == VTYPE_STR) total += strlen(text_of(e));
    char* joined = new char[total + 1];
    char* end = joined;
    for (const VElem* e = this; e != nullptr; e = e->next())
        if (e->vtype() == VTYPE_STR) end = stpcpy(end, text_of(e));
    *end = '\0';
    return joined;
}

VElem* VList::append(const ValueElem* src) {
    VElem* velemp = append();
    velemp->set(src);
    return velemp;
}

VElem* VList::inquire(int i) const {
    if (i < 0 || i >= count()) return nullptr;
    VElem* velemp = head();
    while (i-- > 0) velemp = velemp->next();
    return velemp;
}

VElem* VList::inquire_str(const char* name, bool case_sensitive) const {
    QEN_CHECK(name != NULL);
    const VElem wanted(name, 1);
    VElem* velemp = head();
    while (velemp != nullptr && !velemp->compare(&wanted, case_sensitive)) velemp = velemp->next();
    return velemp;
}

int VList::compare(const VList* other, int skip, bool case_sensitive) const {
    QEN_CHECK(count() >= skip);
    if (other == nullptr || count() != other->count()) return 0;
    const VElem* b = other->head();
    int position = 0;
    for (const VElem* a = head(); a != nullptr; a = a->next(), b = b->next(), ++position)
        if (position >= skip && !a->compare(b, case_sensitive)) return 0;
    return 1;
}

VList* VList::deep_dup() const {
    VList* copy = new VList;
    for (const VElem* e = head(); e != nullptr; e = e->next()) copy->append(e->value());
    return copy;
}

void VList::concat(const char* s) {
    size_t remaining = s != nullptr ? strlen(s) : 0;
    VElem* last = tail();
    int32_t room = packed_room(last);
    while (remaining > 0) {
        if (room == 0) {
            char* packed = new char[PACKED_CHARS + 1];
            packed[0] = '\0';
            last = append(packed, 0);
            room = PACKED_CHARS;
        }
        const size_t n = std::min(remaining, static_cast<size_t>(room));
        char* end = last->getstr() + (PACKED_CHARS - room);
        memcpy(end, s, n);
        end[n] = '\0';
        s += n;
        remaining -= n;
        room -= static_cast<int32_t>(n);
        last->set_bal(room);
    }
}

char* VList::collapse() const {
    return head() != nullptr ? head()->collapse() : ValueElem::dup_str("", 0);
}

char* VList::converttoString(int stop_at_usernames) const {
    char buf[RENDER_SIZE];
    size_t used = 0;
    for (const VElem* e = head(); e != nullptr; e = e->next()) {
        if (e->vtype() == VTYPE_S32) {
            if (used + MIN_NUMBER_ROOM > RENDER_SIZE) break;
            render(buf, used, " %d ", e->gets32());
        } else if (e->vtype() == VTYPE_STR) {
            const char* s = text_of(e);
            if (used + strlen(s) > RENDER_SIZE) break;
            render(buf, used, " %s ", s);
            if (stop_at_usernames && QENEqualNoCase(s, "UserNames")) break;
        }
    }
    return ValueElem::dup_str(buf, used);
}

char* VList::convertStrListToStr() const {
    for (const VElem* e = head(); e != nullptr; e = e->next())
        if (e->vtype() != VTYPE_STR) return nullptr;

    char buf[RENDER_SIZE];
    size_t used = 0;
    for (const VElem* e = head(); e != nullptr; e = e->next()) {
        const size_t len = strlen(text_of(e));
        if (used + len + 2 > RENDER_SIZE) break; // the blank and the NUL
        memcpy(buf + used, text_of(e), len);
        buf[used + len] = ' ';
        used += len + 1;
    }
    return ValueElem::dup_str(buf, used > 0 ? used - 1 : 0);
}

NVList* VList::convertToNVList(bool take_strings, bool (*filter)(const char*)) {
    NVList* names = new NVList;
    names->set_name_ref(take_strings, false);
    for (VElem* e = head(); e != nullptr; e = e->next()) {
        const char* s = e->getstr();
        if (e->vtype() != VTYPE_STR || s == nullptr) continue;
        if (filter != nullptr && !filter(s)) continue;
        // The new list frees all its names, so a string that this list does not own is copied.
        if (take_strings && e->ref()) s = ValueElem::dup_str(s, strlen(s));
        names->append(s, 0);
        if (take_strings) e->set_ref(1);
    }
    if (names->count() == 0) {
        delete names;
        return nullptr;
    }
    if (take_strings) names->set_name_ref(false, true);
    return names;
}

void VList::print() const {
    puts("VTYPE_VLIST ");
    puts("\t\tBegin elements are ...");
    for (const VElem* e = head(); e != nullptr; e = e->next()) e->print();
    puts("\t\tEnd elements are ... (for VLIST)");
}

} // namespace taq_1
