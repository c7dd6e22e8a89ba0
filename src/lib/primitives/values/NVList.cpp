// Adding, looking up, removing and comparing entries of a name-value list.
#include "primitives/values/NVList.h"

#include <cctype>
#include <cstdio>
#include <cstring>

#include "platform/unix/QENAssert.h"
#include "platform/unix/QENNoCase.h"

inline namespace taq_1 {

namespace {

int compare_names(const char* a, const char* b, bool sensitive) {
    return sensitive ? strcmp(a, b) : QENCompareNoCase(a, b);
}

// As compare_names(...) == 0 for a name that needs no NUL.
bool equal_names(const char* name, std::string_view view, bool sensitive) {
    for (const char c : view) {
        const unsigned char a = static_cast<unsigned char>(*name++), b = static_cast<unsigned char>(c);
        if (a == '\0') return false; // also for a NUL in the view, which no name can hold
        if (a != b && (sensitive || tolower(a) != tolower(b))) return false;
    }
    return *name == '\0';
}

} // namespace

NVList::NVList(bool sensitive, bool key_list) : _dlist(this), _flags(0) {
    _set_flag(CASE_SENSITIVE, sensitive);
    _set_flag(KEY_LIST, key_list);
}

// --- adding ---

NVElem* NVList::_add(const char* name, NVElem** out, bool check, list_end where) {
    QEN_CHECK(name != NULL);
    NVElem* at = nullptr; // the entry of that name; in a sorted list else the one that it goes before
    bool exists = false;
    if (is_key_sorted()) {
        exists = binary_search(name, &at);
    } else if (check) {
        at = _find(name, get_sensitive());
        exists = at != nullptr;
    }
    if (exists && check) {
        if (out != nullptr) *out = at;
        return nullptr;
    }
    NVElem* fresh = new NVElem(name, get_name_ref());
    _link(fresh, at, where);
    if (out != nullptr) *out = fresh;
    return fresh;
}

// In a sorted list before `at` (null: at the end), in others as `where` says.
void NVList::_link(NVElem* fresh, NVElem* at, list_end where) {
    if (is_key_sorted())
        _dlist.insert_at(&fresh->_dlink, at != nullptr ? &at->_dlink : nullptr);
    else if (where == AT_HEAD)
        _dlist.insert(&fresh->_dlink);
    else
        _dlist.append(&fresh->_dlink);
}

NVElem* NVList::_add_at(const char* anchor, const char* name, NVElem** out, anchor_side side, int& result) {
    QEN_CHECK(name != NULL);
    NVElem* place = inquire(anchor);
    result = NV_EABSENT;
    if (place == nullptr) return nullptr;

    NVElem* entry = inquire(name);
    const bool exists = entry != nullptr;
    if (!exists) {
        entry = new NVElem(name, get_name_ref());
        if (side == BEFORE_ANCHOR)
            place->insert(entry);
        else
            place->append(entry);
    }
    result = exists ? NV_EEXISTS : NV_ADDED;
    if (out != nullptr) *out = entry;
    return exists ? nullptr : entry;
}

NVElem* NVList::_add_ascending(const char* name, NVElem** out, bool check) {
    QEN_CHECK(name != NULL);
    if (NVElem* existing = check ? inquire(name) : nullptr) {
        if (out != nullptr) *out = existing;
        return nullptr;
    }
    NVElem* at = head();
    while (at != nullptr && _order(at->_name, name) < 0) at = at->next();
    NVElem* fresh = new NVElem(name, get_name_ref());
    _dlist.insert_at(&fresh->_dlink, at != nullptr ? &at->_dlink : nullptr);
    if (out != nullptr) *out = fresh;
    return fresh;
}

// --- looking up ---

int NVList::_order(const char* a, const char* b) const {
    return compare_names(a, b, get_sensitive());
}

NVElem* NVList::_find(const char* name, bool sensitive) const {
    NVElem* nvelemp = head();
    while (nvelemp != nullptr && compare_names(nvelemp->_name, name, sensitive) != 0)
        nvelemp = nvelemp->next();
    return nvelemp;
}

NVElem* NVList::inquire(const char* name, bool case_sensitive) const {
    QEN_CHECK(name != NULL);
    if (!is_key_sorted()) return _find(name, case_sensitive || get_sensitive());
    NVElem* nvelemp = nullptr;
    return binary_search(name, &nvelemp) ? nvelemp : nullptr;
}

NVElem* NVList::inquire(std::string_view name, bool case_sensitive) const {
    const bool sensitive = get_sensitive() || (case_sensitive && !is_key_sorted());
    NVElem* nvelemp = head();
    while (nvelemp != nullptr && !equal_names(nvelemp->_name, name, sensitive)) nvelemp = nvelemp->next();
    return nvelemp;
}

NVElem* NVList::inquire(int i) const {
    if (i < 0 || i >= count()) return nullptr;
    return head()->next(i);
}

NVElem* NVList::wide_inquire(const char* name, bool case_sensitive) const {
    NVElem* nvelemp = inquire(name, case_sensitive);
    return nvelemp != nullptr ? nvelemp : inquire("*", case_sensitive);
}

// A binary search over links saves comparisons of names, but no steps.
bool NVList::binary_search(const char* name, NVElem** out) const {
    QEN_CHECK(name != NULL);
    NVElem *lo = head(), *hi = tail();
    const auto answer = [out](bool found, NVElem* nvelemp) {
        if (out != nullptr) *out = nvelemp;
        return found;
    };
    if (lo == nullptr || hi == nullptr) return answer(false, nullptr);

    int32_t n = count(); // entries from lo to hi
    for (;;) {
        int order = _order(name, lo->_name);
        if (order <= 0) return answer(order == 0, lo);
        if (lo == hi) return answer(false, lo->next());
        order = _order(name, hi->_name);
        if (order >= 0) return answer(order == 0, order == 0 ? hi : hi->next());
        if (n < 3) return answer(false, hi);

        NVElem* mid = lo->next(n / 2);
        order = _order(name, mid->_name);
        if (order == 0) return answer(true, mid);
        if (order < 0) {
            hi = mid;
            n = n / 2 + 1;
        } else {
            lo = mid;
            n = n / 2 + n % 2;
        }
    }
}

// --- removing and moving ---

int NVList::remove(const char* name) {
    NVElem* nvelemp = inquire(name);
    if (nvelemp == nullptr) return NV_EABSENT;
    delete nvelemp;
    return NV_REMOVED;
}

NVElem* NVList::detach_nvelem(const char* name, bool case_sensitive) {
    NVElem* nvelemp = inquire(name, case_sensitive);
    if (nvelemp != nullptr) nvelemp->unlink();
    return nvelemp;
}

NVElem* NVList::attach_nvelem(NVElem* e, int ref, int name_ref) {
    QEN_CHECK(e != NULL);
    if (e->_dlink.dlist() != nullptr) return nullptr;
    remove(e->_name);
    NVElem* at = nullptr;
    if (is_key_sorted()) binary_search(e->_name, &at);
    _link(e, at, AT_TAIL);
    e->set_ref(ref);
    e->set_name_ref(name_ref != 0);
    return e;
}

void NVList::set_name_ref(bool on, bool all_entries) {
    _set_flag(NAME_REF, on);
    if (!all_entries) return;
    for (NVElem* e = head(); e != nullptr; e = e->next()) e->set_name_ref(on);
}

// --- whole lists ---

int NVList::compare(const NVList* other, int ordered, int skip) const {
    if (other == nullptr || count() != other->count()) return 0;
    const bool sensitive = get_sensitive() || other->get_sensitive();
    const NVElem* b = other->head();
    int position = 0;
    for (const NVElem* a = head(); a != nullptr; a = a->next(), b = b->next(), ++position) {
        if (position < skip) continue;
        const NVElem* match = b;
        if (ordered != 1)
            match = other->_find(a->_name, sensitive);
        else if (compare_names(a->_name, b->_name, sensitive) != 0)
            return 0;
        if (match == nullptr || !a->_value.compare(&match->_value, sensitive)) return 0;
    }
    return 1;
}

NVList* NVList::deep_dup() const {
    NVList* copy = new NVList(get_sensitive(), is_key_list());
    for (const NVElem* e = head(); e != nullptr; e = e->next()) {
        NVElem* same = nullptr;
        copy->append(e->_name, &same, true);
        same->set(&e->_value);
    }
    return copy;
}

void NVList::print() const {
    puts("VTYPE_NVLIST ");
    puts("\t\tBegin elements are ...");
    for (const NVElem* e = head(); e != nullptr; e = e->next()) e->print();
    puts("\t\tEnd elements are ... (for NVLIST)");
}

} // namespace taq_1
