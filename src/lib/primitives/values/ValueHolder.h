// The value operations of all list elements: each element embeds a value cell.
#pragma once

#include <type_traits>

#include "ValueElem.h"

inline namespace taq_1 {

// What a cell can be made of: nothing, a number, or a pointer followed by its reference flag. Containers
// take their values as such arguments, so that they have exactly the overloads of ValueElem.
template <class... V>
inline constexpr bool is_cell_value = std::is_constructible_v<ValueElem, V...>;
template <class... V>
using IfCellValue = std::enable_if_t<is_cell_value<V...>, int>;
template <class T>
using IfCellNumber = std::enable_if_t<is_cell_value<T> && !std::is_pointer_v<T>, int>;
template <class P>
using IfCellPointer = std::enable_if_t<std::is_pointer_v<P> && is_cell_value<P, int>, int>;

// The value operations of an element E that embeds a cell and gives access to it with value().
template <class E>
class ValueHolder {
public:
    uint8_t vtype() const { return _cell().vtype(); }
    int ref() const { return _cell().ref(); }
    ValueElemScope vscope() const { return _cell().vscope(); }
    int32_t size() const { return _cell().size(); }
    int32_t bal() const { return _cell().bal(); }
    void set_ref(int ref) { _cell().set_ref(ref); }
    void set_vscope(ValueElemScope scope) { _cell().set_vscope(scope); }
    void set_size(int32_t size) { _cell().set_size(size); }
    void set_bal(int32_t bal) { _cell().set_bal(bal); }

    int8_t gets8() const { return _cell().gets8(); }
    int16_t gets16() const { return _cell().gets16(); }
    int32_t gets32() const { return _cell().gets32(); }
    char* getstr() const { return _cell().getstr(); }
    void* getptr() const { return _cell().getptr(); }
    VList* getvlist() const { return _cell().getvlist(); }
    NVList* getnvlist() const { return _cell().getnvlist(); }
    ValueArray* getarray() const { return _cell().getarray(); }
    HashTable* gethash() const { return _cell().gethash(); }
    MsgStruct* getmsg() const { return _cell().getmsg(); }
    BusinessObject* getobject() const { return _cell().getobject(); }

    // As ValueElem::set, all its forms.
    template <class... V, IfCellValue<V...> = 0>
    void set(V... value) {
        _cell().set(value...);
    }
    void set(const ValueElem* src) { _cell().set(src); }

private:
    ValueElem& _cell() { return *static_cast<E*>(this)->value(); }
    const ValueElem& _cell() const { return *static_cast<const E*>(this)->value(); }
};

} // namespace taq_1
