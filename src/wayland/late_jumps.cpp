// Stands in for each late function under its own name, visible in the addon
// only, and jumps to where loadWaylandLibraries() has found it. Arguments stay
// in place, whatever the function's signature.

#if defined(__x86_64__)
#define JUMP_CODE(name) "endbr64\n jmp *ostler_late_" #name "(%rip)\n"
#elif defined(__aarch64__)
#define JUMP_CODE(name) \
  "hint 34\n adrp x16, ostler_late_" #name "\n ldr x16, [x16, :lo12:ostler_late_" #name "]\n br x16\n"
#else
#error "This processor needs a jump of its own here."
#endif

#define LATE_FUNCTION(library, name)                                                      \
  asm(".text\n .globl " #name "\n .hidden " #name "\n .type " #name ", %function\n" #name \
      ":\n" JUMP_CODE(name) ".size " #name ", . - " #name "\n");
#include "wayland/late_functions.def"
