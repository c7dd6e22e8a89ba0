// Writing and reading a ring of strings.
#include "primitives/values/CList.h"

#include "platform/unix/QENAssert.h"

inline namespace taq_1 {

CElem::~CElem() {
    CList* ring = clist();
    if (ring == nullptr || ring->_current != this) return;
    ring->_current = ring->count() > 1 ? next() : nullptr;
}

CList* CElem::clist() const {
    return _dlink.dlist() != nullptr ? static_cast<CList*>(_dlink.dlist()->object()) : nullptr;
}

CElem* CElem::append() {
    QEN_CHECK(_dlink.dlist() != NULL);
    CElem* celemp = new CElem;
    _dlink.append(&celemp->_dlink);
    return celemp;
}

CElem* CElem::insert() {
    QEN_CHECK(_dlink.dlist() != NULL);
    CElem* celemp = new CElem;
    _dlink.insert(&celemp->_dlink);
    return celemp;
}

CList::CList(unsigned int n) : _dlist(this) {
    for (; n > 0; --n) append();
}

CList::~CList() {
    _dlist.delete_objects<CElem>();
}

// Makes the first cell of an empty ring.
CElem* CList::_first_cell() {
    CElem* celemp = new CElem;
    _dlist.append(&celemp->_dlink);
    celemp->_dlink.set_next(&celemp->_dlink);
    celemp->_dlink.set_prev(&celemp->_dlink);
    _current = celemp;
    return celemp;
}

// In a full ring the next write would replace the head. It fills the new cell instead.
CElem* CList::append() {
    if (tail() == nullptr) return _first_cell();
    CElem* celemp = tail()->append();
    if (_current == head() && _current->vtype() == VTYPE_STR) _current = celemp;
    return celemp;
}

CElem* CList::insert() {
    CElem* celemp = head() == nullptr ? _first_cell() : head()->insert();
    QEN_CHECK(celemp);
    return celemp;
}

// The oldest entry becomes the newest.
void CList::_advance() {
    _dlist.set_head(_dlist.head()->next());
    _dlist.set_tail(_dlist.tail()->next());
}

CElem* CList::write(char* s) {
    CElem* celemp = _current;
    if (celemp == nullptr) return nullptr;
    const bool full = celemp == head() && celemp->vtype() == VTYPE_STR;
    if (full) _advance();
    celemp->_value.replace_str(s);
    _current = celemp->next();
    return celemp;
}

CElem* CList::write(char* s, int i) {
    CElem* celemp = read(i);
    if (celemp == nullptr) return nullptr;
    if (celemp == tail()) _advance();
    celemp->_value.replace_str(s);
    return celemp;
}

CElem* CList::read(int i) const {
    if (i < 0 || i >= count()) return nullptr;
    CElem* celemp = head();
    while (i-- > 0) celemp = celemp->next();
    return celemp;
}

} // namespace taq_1
