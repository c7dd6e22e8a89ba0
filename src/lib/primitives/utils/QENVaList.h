// An argument list that can be passed on by reference. A plain va_list may be an array type, which decays to
// a pointer in a parameter list, and a function that walks it leaves the caller's in an unknown state.
//
// Whoever starts or copies into `list` also ends it:
//   QENVaList args;
//   va_start(args.list, fmtp);          // or va_copy(args.list, inarg_ptr)
//   QENUtils::msgargs_to_msgstruct(fmtp, args, msg);
//   va_end(args.list);
// Functions that take a QENVaList walk a copy, so the same list can be handed to several of them in turn.
#pragma once

#include <cstdarg>

inline namespace taq_1 {

struct QENVaList {
    va_list list;
};

} // namespace taq_1
