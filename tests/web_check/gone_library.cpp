// Not to be found where the module that needs it is loaded.
extern "C" __attribute__((visibility("default"))) int somethingGone() {
  return 0;
}
