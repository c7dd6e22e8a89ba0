// An entry of a name-value list: its name, its place, and its value for one host.
#include "primitives/values/NVElem.h"

#include <cstdio>
#include <cstring>

#include "platform/unix/QENAssert.h"
#include "primitives/values/NVList.h"

inline namespace taq_1 {

namespace {

char* dup_name(const char* name) {
    return ValueElem::dup_str(name, strlen(name));
}

} // namespace

NVElem::NVElem(const char* name, bool name_ref) : _dlink(this), _name_ref(name_ref) {
    QEN_CHECK(name != NULL);
    _name = name_ref ? const_cast<char*>(name) : dup_name(name);
}

NVElem* NVElem::next(int n) const {
    if (n < 0) return nullptr;
    NVElem* nvelemp = const_cast<NVElem*>(this);
    for (; n > 0 && nvelemp != nullptr; --n) nvelemp = nvelemp->next();
    return nvelemp;
}

NVList* NVElem::getNVList() const {
    return _dlink.dlist() != nullptr ? static_cast<NVList*>(_dlink.dlist()->object()) : nullptr;
}

void NVElem::unlink() {
    _dlink.unlink();
    _dlink.set_next(nullptr);
    _dlink.set_prev(nullptr);
}

void NVElem::set_name(const char* name) {
    QEN_CHECK(name != NULL);
    char* copy = dup_name(name); // copied before the old name is freed: it may be the same
    if (!_name_ref) delete[] _name;
    _name = copy;
    _name_ref = false;
}

void NVElem::insert(NVElem* nvelemp) {
    QEN_CHECK(nvelemp != NULL);
    _dlink.insert(&nvelemp->_dlink);
}

void NVElem::append(NVElem* nvelemp) {
    QEN_CHECK(nvelemp != NULL);
    _dlink.append(&nvelemp->_dlink);
}

NVElem* NVElem::_host_entry(const char* host) const {
    QEN_CHECK(_value.vtype() == VTYPE_NVLIST && _value.getnvlist() != NULL);
    NVElem* nvelemp = _value.getnvlist()->inquire(host);
    QEN_CHECK(nvelemp != NULL);
    return nvelemp;
}

int32_t NVElem::gets32GL(const char* host) const {
    return vscope() == host_generic ? gets32() : _host_entry(host)->gets32();
}

void NVElem::setGL(int value, const char* host) {
    if (vscope() == host_generic)
        set(value);
    else
        _host_entry(host)->set(value);
}

void NVElem::print() const {
    printf("\tBegin NVElem (%s)\n", _name);
    puts("\tValue is ...");
    _value.print();
    printf("\tEnd NVElem (%s)\n", _name);
}

} // namespace taq_1
