#ifndef NPAPI_NPRUNTIME_H_
#define NPAPI_NPRUNTIME_H_

#include <cstring>

#include "npapi/npapi.h"

// Script values and script objects, as the page's engine and a plugin share them.

using NPUTF8 = char;
using NPIdentifier = void*;

// The bytes are not terminated.
struct NPString {
  const NPUTF8* UTF8Characters;
  uint32_t UTF8Length;
};

struct NPClass;

// The header of every script object; the browser keeps both members.
struct NPObject {
  NPClass* _class;
  uint32_t referenceCount;
};

// The type is fixed, so that a tag which only the browser knows is a value as well.
enum NPVariantType : uint32_t {
  NPVariantType_Void,
  NPVariantType_Null,
  NPVariantType_Bool,
  NPVariantType_Int32,
  NPVariantType_Double,
  NPVariantType_String,
  NPVariantType_Object
};

struct NPVariant {
  NPVariantType type;
  union {
    bool boolValue;
    int32_t intValue;
    double doubleValue;
    NPString stringValue;
    NPObject* objectValue;
  } value;
};

constexpr uint32_t NP_CLASS_STRUCT_VERSION_ENUM = 2;
constexpr uint32_t NP_CLASS_STRUCT_VERSION_CTOR = 3;
constexpr uint32_t NP_CLASS_STRUCT_VERSION = NP_CLASS_STRUCT_VERSION_CTOR;

using NPAllocateFunctionPtr = NPObject* (*)(NPP instance, NPClass* objectClass);
using NPDeallocateFunctionPtr = void (*)(NPObject* object);
using NPInvalidateFunctionPtr = void (*)(NPObject* object);
using NPHasMethodFunctionPtr = bool (*)(NPObject* object, NPIdentifier name);
using NPInvokeFunctionPtr = bool (*)(NPObject* object, NPIdentifier name, const NPVariant* args,
                                     uint32_t argCount, NPVariant* result);
using NPInvokeDefaultFunctionPtr = bool (*)(NPObject* object, const NPVariant* args,
                                            uint32_t argCount, NPVariant* result);
using NPHasPropertyFunctionPtr = bool (*)(NPObject* object, NPIdentifier name);
using NPGetPropertyFunctionPtr = bool (*)(NPObject* object, NPIdentifier name, NPVariant* result);
using NPSetPropertyFunctionPtr = bool (*)(NPObject* object, NPIdentifier name,
                                          const NPVariant* value);
using NPRemovePropertyFunctionPtr = bool (*)(NPObject* object, NPIdentifier name);
using NPEnumerationFunctionPtr = bool (*)(NPObject* object, NPIdentifier** names, uint32_t* count);
using NPConstructFunctionPtr = bool (*)(NPObject* object, const NPVariant* args, uint32_t argCount,
                                        NPVariant* result);

// The operations of one kind of script object. A null member is an operation that it lacks.
struct NPClass {
  uint32_t structVersion;
  NPAllocateFunctionPtr allocate;
  NPDeallocateFunctionPtr deallocate;
  NPInvalidateFunctionPtr invalidate;
  NPHasMethodFunctionPtr hasMethod;
  NPInvokeFunctionPtr invoke;
  NPInvokeDefaultFunctionPtr invokeDefault;
  NPHasPropertyFunctionPtr hasProperty;
  NPGetPropertyFunctionPtr getProperty;
  NPSetPropertyFunctionPtr setProperty;
  NPRemovePropertyFunctionPtr removeProperty;
  NPEnumerationFunctionPtr enumerate;
  NPConstructFunctionPtr construct;
};

inline bool NPVARIANT_IS_VOID(const NPVariant& v) {
  return v.type == NPVariantType_Void;
}
inline bool NPVARIANT_IS_NULL(const NPVariant& v) {
  return v.type == NPVariantType_Null;
}
inline bool NPVARIANT_IS_BOOLEAN(const NPVariant& v) {
  return v.type == NPVariantType_Bool;
}
inline bool NPVARIANT_IS_INT32(const NPVariant& v) {
  return v.type == NPVariantType_Int32;
}
inline bool NPVARIANT_IS_DOUBLE(const NPVariant& v) {
  return v.type == NPVariantType_Double;
}
inline bool NPVARIANT_IS_STRING(const NPVariant& v) {
  return v.type == NPVariantType_String;
}
inline bool NPVARIANT_IS_OBJECT(const NPVariant& v) {
  return v.type == NPVariantType_Object;
}

inline bool NPVARIANT_TO_BOOLEAN(const NPVariant& v) {
  return v.value.boolValue;
}
inline int32_t NPVARIANT_TO_INT32(const NPVariant& v) {
  return v.value.intValue;
}
inline double NPVARIANT_TO_DOUBLE(const NPVariant& v) {
  return v.value.doubleValue;
}
inline const NPString& NPVARIANT_TO_STRING(const NPVariant& v) {
  return v.value.stringValue;
}
inline NPObject* NPVARIANT_TO_OBJECT(const NPVariant& v) {
  return v.value.objectValue;
}

inline void VOID_TO_NPVARIANT(NPVariant& v) {
  v.type = NPVariantType_Void;
  v.value.objectValue = nullptr;
}

inline void NULL_TO_NPVARIANT(NPVariant& v) {
  v.type = NPVariantType_Null;
  v.value.objectValue = nullptr;
}

inline void BOOLEAN_TO_NPVARIANT(bool value, NPVariant& v) {
  v.type = NPVariantType_Bool;
  v.value.boolValue = value;
}

inline void INT32_TO_NPVARIANT(int32_t value, NPVariant& v) {
  v.type = NPVariantType_Int32;
  v.value.intValue = value;
}

inline void DOUBLE_TO_NPVARIANT(double value, NPVariant& v) {
  v.type = NPVariantType_Double;
  v.value.doubleValue = value;
}

// Stores the pointer; copies no byte.
inline void STRINGN_TO_NPVARIANT(const NPUTF8* characters, uint32_t length, NPVariant& v) {
  v.type = NPVariantType_String;
  v.value.stringValue = {characters, length};
}

inline void STRINGZ_TO_NPVARIANT(const NPUTF8* text, NPVariant& v) {
  STRINGN_TO_NPVARIANT(text, static_cast<uint32_t>(std::strlen(text)), v);
}

// Stores the pointer; retains nothing.
inline void OBJECT_TO_NPVARIANT(NPObject* object, NPVariant& v) {
  v.type = NPVariantType_Object;
  v.value.objectValue = object;
}

#endif  // NPAPI_NPRUNTIME_H_
