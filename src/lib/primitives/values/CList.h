// A ring of string cells that overwrites its oldest entry when it is full.
#pragma once

#include "DList.h"
#include "ValueHolder.h"

inline namespace taq_1 {

class CList;

// One cell of a ring. next() and prev() go round and round.
class CElem : public Pooled<MEM_CELEM>, public ValueHolder<CElem> {
public:
    CElem() : _dlink(this) {}
    ~CElem();
    CElem(const CElem&) = delete;
    CElem& operator=(const CElem&) = delete;

    CElem* next() const { return _elem(_dlink.next()); }
    CElem* prev() const { return _elem(_dlink.prev()); }
    CElem* head() const { return _elem(_dlink.head()); } // of the ring; null when in none
    CElem* tail() const { return _elem(_dlink.tail()); }
    CList* clist() const; // the ring; null when in none
    ValueElem* value() { return &_value; }
    const ValueElem* value() const { return &_value; }

    CElem* append(); // a new empty cell directly after (before) this one, which must be in a ring
    CElem* insert();

private:
    friend class CList;
    static CElem* _elem(const DLink* link) {
        return link != nullptr ? static_cast<CElem*>(link->object()) : nullptr;
    }

    DLink _dlink;
    ValueElem _value;
};

// The ring owns its cells and the strings written into them. The head is the oldest entry, the tail the
// newest once the ring is full. Users lock a shared ring themselves. A signal handler may walk a ring that
// is being written, by next() and count(): the links of a ring do not change while it is written, and a
// cell shows its old or its new string, whose predecessor is freed only after the change.
class CList : public Pooled<MEM_CLIST> {
public:
    explicit CList(unsigned int n); // a ring of n empty cells
    ~CList();
    CList(const CList&) = delete;
    CList& operator=(const CList&) = delete;

    // Stores s, a new[] array that the ring then owns, in the next cell and returns the cell. Null for a
    // ring without cells: s stays the caller's.
    CElem* write(char* s);

    // Stores s, likewise, in the cell at 0-based position i from the head, which becomes the newest entry
    // when it was the last cell. Null when i is not below the count: s stays the caller's.
    CElem* write(char* s, int i);

    CElem* read(int i) const; // the cell at 0-based position i from the head; null outside

    // A new empty cell at the tail (head), for rings still to be filled: an empty cell at the head of a
    // filled one would count as its oldest entry.
    CElem* append();
    CElem* insert();

    CElem* head() const { return CElem::_elem(_dlist.head()); } // null without cells
    CElem* tail() const { return CElem::_elem(_dlist.tail()); }
    int32_t count() const { return _dlist.count(); }

private:
    friend class CElem;
    CElem* _first_cell();
    void _advance();

    DList _dlist;              // its object is this
    CElem* _current = nullptr; // the next cell to write; null without cells
};

} // namespace taq_1
