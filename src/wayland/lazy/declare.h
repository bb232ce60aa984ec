#pragma once

// Only Wayland sessions need these libraries, so the addon is not linked with
// them, and loads on a machine without them. Each function that we call has a
// pointer of the same name in our namespace, which hides the function there:
// code calls it as usual. loadWaylandLibraries() sets the pointers.
//
// A call of a function that is not on its library's list leaves an undefined
// symbol in the addon, which a test looks for.
// NOLINTNEXTLINE(bugprone-macro-parentheses): no name may stand in parentheses here.
#define OSTLER_DECLARE_LAZY(name) extern decltype(&::name) name;
