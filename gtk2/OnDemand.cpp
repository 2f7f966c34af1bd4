#include "gtk2/OnDemand.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

#include "gtk2/Functions.h"

namespace {

// One for each function, made by the assembler below.
struct Slot {
  void* target;  // where calls go: to gtk2FirstCall, or to the function
  const char* name;
};

}  // namespace

extern "C" {
extern Slot gtk2Slots[];
extern Slot gtk2SlotsEnd[];
// Called by gtk2FirstCall.
[[gnu::visibility("hidden"), gnu::used]] void gtk2LoadOrEnd();
}

// A function jumps to where its slot says, with the slot's address in r11, which no argument is
// passed in. At first that is gtk2FirstCall, which keeps the arguments, loads the library and goes
// on to the function.
#define GTK2_ENTRY(name)                                                               \
  ".pushsection .rodata.gtk2,\"a\"\n"                                                  \
  "1: .string \"" #name                                                                \
  "\"\n"                                                                               \
  ".popsection\n"                                                                      \
  ".pushsection .data.rel.gtk2,\"aw\"\n"                                               \
  "2: .quad gtk2FirstCall, 1b\n"                                                       \
  ".popsection\n"                                                                      \
  ".globl " #name "\n.hidden " #name "\n.type " #name ",@function\n.p2align 4\n" #name \
  ": lea 2b(%rip), %r11\n"                                                             \
  "jmp *(%r11)\n"                                                                      \
  ".size " #name ", . - " #name "\n"

asm(R"(
.pushsection .data.rel.gtk2,"aw"
.p2align 3
.globl gtk2Slots
.hidden gtk2Slots
gtk2Slots:
.popsection
.pushsection .text
.type gtk2FirstCall,@function
gtk2FirstCall:
.cfi_startproc
push %rbp
.cfi_def_cfa_offset 16
.cfi_offset %rbp, -16
mov %rsp, %rbp
.cfi_def_cfa_register %rbp
push %rdi
push %rsi
push %rdx
push %rcx
push %r8
push %r9
push %rax
push %r11
sub $128, %rsp
movups %xmm0, (%rsp)
movups %xmm1, 16(%rsp)
movups %xmm2, 32(%rsp)
movups %xmm3, 48(%rsp)
movups %xmm4, 64(%rsp)
movups %xmm5, 80(%rsp)
movups %xmm6, 96(%rsp)
movups %xmm7, 112(%rsp)
call gtk2LoadOrEnd
movups (%rsp), %xmm0
movups 16(%rsp), %xmm1
movups 32(%rsp), %xmm2
movups 48(%rsp), %xmm3
movups 64(%rsp), %xmm4
movups 80(%rsp), %xmm5
movups 96(%rsp), %xmm6
movups 112(%rsp), %xmm7
add $128, %rsp
pop %r11
pop %rax
pop %r9
pop %r8
pop %rcx
pop %rdx
pop %rsi
pop %rdi
pop %rbp
.cfi_def_cfa %rsp, 8
jmp *(%r11)
.cfi_endproc
.size gtk2FirstCall, . - gtk2FirstCall
)" GTK2_FUNCTIONS(GTK2_ENTRY) R"(
.popsection
.pushsection .data.rel.gtk2,"aw"
.globl gtk2SlotsEnd
.hidden gtk2SlotsEnd
gtk2SlotsEnd:
.popsection
)");

namespace gtk2 {
namespace {

constexpr char kLibrary[] = "libgtk-x11-2.0.so.0";

// Empty, or why it cannot be used. Stays loaded: its threads and atexit functions may run at any
// time.
std::string loadOnce() {
  void* library = dlopen(kLibrary, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    return dlerror();
  }
  for (Slot* slot = gtk2Slots; slot != gtk2SlotsEnd; ++slot) {
    // Looks into the libraries that it brings along as well.
    void* function = dlsym(library, slot->name);
    if (function == nullptr) {
      return dlerror();
    }
    __atomic_store_n(&slot->target, function, __ATOMIC_RELEASE);
  }
  return std::string();
}

}  // namespace

bool load(std::string* error) {
  static const std::string reason = loadOnce();
  if (error != nullptr) {
    *error = reason;
  }
  return reason.empty();
}

bool isLoaded() {
  void* library = dlopen(kLibrary, RTLD_LAZY | RTLD_NOLOAD);
  return library != nullptr && dlclose(library) == 0;
}

}  // namespace gtk2

void gtk2LoadOrEnd() {
  std::string error;
  if (!gtk2::load(&error)) {
    std::fprintf(stderr, "GTK 2 cannot be used: %s\n", error.c_str());
    std::abort();
  }
}
