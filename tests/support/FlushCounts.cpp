// What a forked child counted would be lost when it ends without exit handlers, or becomes another
// program: the counts are written before either. Only in builds that count coverage.
extern "C" {
void __gcov_dump();
[[noreturn]] void __real__exit(int code);
int __real_execv(const char* program, char* const arguments[]);

[[noreturn]] void __wrap__exit(int code) {
  __gcov_dump();
  __real__exit(code);
}

int __wrap_execv(const char* program, char* const arguments[]) {
  __gcov_dump();
  return __real_execv(program, arguments);
}
}
