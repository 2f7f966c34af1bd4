// A plugin module that cannot be started.
#pragma GCC visibility push(default)
extern "C" {
const char* NP_GetMIMEDescription() {
  return "application/x-refusing::Refusing";
}

short NP_Initialize(void*, void*) {
  return 8;  // NPERR_INCOMPATIBLE_VERSION_ERROR
}
}
