#ifndef BROWSERS_NPAPI_COMMON_NP_OBJECT_REF_H_
#define BROWSERS_NPAPI_COMMON_NP_OBJECT_REF_H_

#include <utility>

#include "browsers/npapi_common/ovUtility.h"

// One reference on a page object, or none. Made from an object, reset and destroyed on the main
// thread; a move only hands the reference on and may happen on any thread.
class NPObjectRef {
 public:
  NPObjectRef() = default;
  // Retains the object, which may be null.
  explicit NPObjectRef(NPObject* object) : _object(object) {
    if (_object != nullptr) {
      g_NPNFuncs.retainobject(_object);
    }
  }
  ~NPObjectRef() { reset(); }
  NPObjectRef(NPObjectRef&& other) noexcept : _object(std::exchange(other._object, nullptr)) {}
  NPObjectRef& operator=(NPObjectRef&& other) noexcept {
    if (this != &other) {
      reset();
      _object = std::exchange(other._object, nullptr);
    }
    return *this;
  }

  void reset() {
    if (NPObject* object = std::exchange(_object, nullptr)) {
      g_NPNFuncs.releaseobject(object);
    }
  }

  NPObject* get() const { return _object; }
  explicit operator bool() const { return _object != nullptr; }

 private:
  NPObject* _object = nullptr;
};

#endif  // BROWSERS_NPAPI_COMMON_NP_OBJECT_REF_H_
