// The checked operations of lists and links; the short ones stand in the header.
#include "primitives/values/DList.h"

#include "platform/unix/QENAssert.h"

inline namespace taq_1 {

namespace {

constexpr int BLANKS_PER_LEVEL = 4;

int blanks(int indent) {
    return indent * BLANKS_PER_LEVEL;
}

FILE* stream_or_stdout(FILE* fp) {
    return fp != nullptr ? fp : stdout;
}

} // namespace

void DLink::append(DLink* dlink) {
    QEN_CHECK(dlink != NULL);
    QEN_CHECK(dlink->_dlist == NULL);
    QEN_CHECK(_dlist != NULL);
    _dlist->_link_after(this, dlink);
}

void DLink::insert(DLink* dlink) {
    QEN_CHECK(dlink != NULL);
    QEN_CHECK(dlink->_dlist == NULL);
    QEN_CHECK(_dlist != NULL);
    _dlist->_link_before(this, dlink);
}

DLink* DLink::unlink() {
    QEN_CHECK(_dlist != NULL);
    _leave();
    return _next;
}

void DLink::print(const char* name, FILE* fp, char indent) const {
    fp = stream_or_stdout(fp);
    const int outer = blanks(indent), inner = blanks(indent + 1);
    fprintf(fp, "%*sDLink(%s) {\n", outer, "", name);
    fprintf(fp, "%*sthis=%p\n", inner, "", static_cast<const void*>(this));
    fprintf(fp, "%*s_dlist=%p\n", inner, "", static_cast<const void*>(_dlist));
    fprintf(fp, "%*s_object=%p\n", inner, "", _object);
    fprintf(fp, "%*s_next=%p\n", inner, "", static_cast<const void*>(_next));
    fprintf(fp, "%*s_prev=%p\n", inner, "", static_cast<const void*>(_prev));
    fprintf(fp, "%*s}\n", outer, "");
}

void DList::append(DLink* dlink) {
    QEN_CHECK(dlink != NULL);
    QEN_CHECK(dlink->_dlist == NULL);
    append_fresh(dlink);
}

void DList::insert(DLink* dlink) {
    QEN_CHECK(dlink != NULL);
    QEN_CHECK(dlink->_dlist == NULL);
    if (_head == nullptr)
        _link_only(dlink);
    else
        _link_before(_head, dlink);
}

DLink* DList::append(void* object) {
    DLink* dlink = new DLink(object);
    append(dlink);
    return dlink;
}

DLink* DList::insert(void* object) {
    DLink* dlink = new DLink(object);
    insert(dlink);
    return dlink;
}

void DList::insert_at(DLink* dlink, DLink* location) {
    QEN_CHECK(dlink != NULL);
    QEN_CHECK(dlink->_dlist == NULL);
    if (location == nullptr) {
        append_fresh(dlink);
        return;
    }
    QEN_CHECK(location->_dlist == this);
    _link_before(location, dlink);
}

void DList::dlistcat(DList* other) {
    if (other == nullptr || other == this) return;
    while (DLink* link = other->_head) {
        link->_leave();
        link->_next = link->_prev = nullptr;
        append_fresh(link);
    }
}

void DList::print(const char* name, FILE* fp, char indent) const {
    fp = stream_or_stdout(fp);
    const int outer = blanks(indent), inner = blanks(indent + 1);
    const char deeper = static_cast<char>(indent + 1);
    fprintf(fp, "%*sDList(%s) {\n", outer, "", name);
    fprintf(fp, "%*sthis=%p\n", inner, "", static_cast<const void*>(this));
    fprintf(fp, "count=0x%x\n", static_cast<unsigned>(_count));
    if (_head != nullptr)
        _head->print("_head", fp, deeper);
    else
        fprintf(fp, "%*s_head=0x0\n", inner, "");
    if (_tail != nullptr)
        _tail->print("_tail", fp, deeper);
    else
        fprintf(fp, "%*s_tail=0x0\n", inner, "");
    fprintf(fp, "%*s}\n", outer, "");
}

void DList::_overflow() {
    QENAssert("_count < INT32_MAX", __FILE__, __LINE__, "list too long");
}

} // namespace taq_1
