#pragma once

// Only Wayland sessions need these libraries, so the addon is not linked with them and loads on a
// machine that lacks them. Each function that we call has a function pointer of the same name in
// our namespace, so code calls it as usual. loadWaylandLibraries() sets the pointers.
//
// A call of a function that is missing from its library's list leaves an
// undefined symbol in the addon. A test checks that there is none.
// NOLINTNEXTLINE(bugprone-macro-parentheses): no name may stand in parentheses here.
#define OSTLER_DECLARE_LAZY(name) extern decltype(&::name) name;
