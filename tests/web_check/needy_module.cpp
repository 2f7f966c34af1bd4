extern "C" int somethingGone();

extern "C" __attribute__((visibility("default"))) int needSomethingGone() {
  return somethingGone();
}
