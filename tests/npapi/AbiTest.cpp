#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>

#include "npapi/npfunctions.h"

// The binary interface as browsers have it on x86-64 Linux: the layout of what crosses it.

namespace {

#define RECORD(type, size, alignment) \
  static_assert(sizeof(type) == (size) && alignof(type) == (alignment), #type)
RECORD(NPNetscapeFuncs, 472, 8);
RECORD(NPPluginFuncs, 168, 8);
RECORD(NPClass, 104, 8);
RECORD(NPObject, 16, 8);
RECORD(NPVariant, 24, 8);
RECORD(NPString, 16, 8);
RECORD(NPWindow, 48, 8);
RECORD(NPStream, 48, 8);
RECORD(NPSetWindowCallbackStruct, 40, 8);
RECORD(NPP_t, 16, 8);
RECORD(NPRect, 8, 2);
RECORD(NPSavedData, 16, 8);

static_assert(sizeof(NPVariantType) == 4 && sizeof(NPNVariable) == 4 && sizeof(NPPVariable) == 4);
static_assert(sizeof(NPError) == 2 && sizeof(NPReason) == 2 && sizeof(NPBool) == 1);
static_assert(NPNVToolkit == 268435469 && NPPVpluginScriptableInstance == 268435466);
// What the module answers to scripts is C++'s own bool, one byte of 0 or 1.
static_assert(std::is_same_v<decltype(NPClass::hasMethod), bool (*)(NPObject*, NPIdentifier)>);

struct Member {
  const char* name;
  size_t offset;
  size_t size;
  size_t expectedOffset;
  size_t expectedSize;
};

#define MEMBER(type, member, offset, size)                                                   \
  {                                                                                          \
#type "." #member, offsetof(type, member), sizeof(static_cast <type*>(nullptr)->member), \
        offset, size                                                                         \
  }

TEST(NpapiHeaders, layMembersOutAsBrowsersDo) {
  const Member kMembers[] = {
      MEMBER(NPObject, _class, 0, 8),
      MEMBER(NPObject, referenceCount, 8, 4),
      MEMBER(NPVariant, type, 0, 4),
      MEMBER(NPVariant, value, 8, 16),
      MEMBER(NPVariant, value.boolValue, 8, 1),
      MEMBER(NPVariant, value.intValue, 8, 4),
      MEMBER(NPVariant, value.doubleValue, 8, 8),
      MEMBER(NPVariant, value.stringValue, 8, 16),
      MEMBER(NPVariant, value.objectValue, 8, 8),
      MEMBER(NPString, UTF8Characters, 0, 8),
      MEMBER(NPString, UTF8Length, 8, 4),
      MEMBER(NPWindow, window, 0, 8),
      MEMBER(NPWindow, x, 8, 4),
      MEMBER(NPWindow, y, 12, 4),
      MEMBER(NPWindow, width, 16, 4),
      MEMBER(NPWindow, height, 20, 4),
      MEMBER(NPWindow, clipRect, 24, 8),
      MEMBER(NPWindow, ws_info, 32, 8),
      MEMBER(NPWindow, type, 40, 4),
      MEMBER(NPStream, pdata, 0, 8),
      MEMBER(NPStream, ndata, 8, 8),
      MEMBER(NPStream, url, 16, 8),
      MEMBER(NPStream, end, 24, 4),
      MEMBER(NPStream, lastmodified, 28, 4),
      MEMBER(NPStream, notifyData, 32, 8),
      MEMBER(NPStream, headers, 40, 8),
      MEMBER(NPSetWindowCallbackStruct, type, 0, 4),
      MEMBER(NPSetWindowCallbackStruct, display, 8, 8),
      MEMBER(NPSetWindowCallbackStruct, visual, 16, 8),
      MEMBER(NPSetWindowCallbackStruct, colormap, 24, 8),
      MEMBER(NPSetWindowCallbackStruct, depth, 32, 4),
      MEMBER(NPP_t, pdata, 0, 8),
      MEMBER(NPP_t, ndata, 8, 8),
      MEMBER(NPRect, top, 0, 2),
      MEMBER(NPRect, left, 2, 2),
      MEMBER(NPRect, bottom, 4, 2),
      MEMBER(NPRect, right, 6, 2),
      MEMBER(NPSavedData, len, 0, 4),
      MEMBER(NPSavedData, buf, 8, 8),
  };
  for (const Member& member : kMembers) {
    EXPECT_EQ(member.offset, member.expectedOffset) << member.name;
    EXPECT_EQ(member.size, member.expectedSize) << member.name;
  }
}

// The tables' entries, one machine word each, in the order that both sides count on.
TEST(NpapiHeaders, orderTheTablesAsBrowsersDo) {
#define ENTRY(entry) offsetof(NPClass, entry)
  const size_t kClass[] = {ENTRY(structVersion), ENTRY(allocate),       ENTRY(deallocate),
                           ENTRY(invalidate),    ENTRY(hasMethod),      ENTRY(invoke),
                           ENTRY(invokeDefault), ENTRY(hasProperty),    ENTRY(getProperty),
                           ENTRY(setProperty),   ENTRY(removeProperty), ENTRY(enumerate),
                           ENTRY(construct)};
#undef ENTRY
#define ENTRY(entry) offsetof(NPNetscapeFuncs, entry)
  const size_t kBrowser[] = {ENTRY(size),
                             ENTRY(geturl),
                             ENTRY(posturl),
                             ENTRY(requestread),
                             ENTRY(newstream),
                             ENTRY(write),
                             ENTRY(destroystream),
                             ENTRY(status),
                             ENTRY(uagent),
                             ENTRY(memalloc),
                             ENTRY(memfree),
                             ENTRY(memflush),
                             ENTRY(reloadplugins),
                             ENTRY(getJavaEnv),
                             ENTRY(getJavaPeer),
                             ENTRY(geturlnotify),
                             ENTRY(posturlnotify),
                             ENTRY(getvalue),
                             ENTRY(setvalue),
                             ENTRY(invalidaterect),
                             ENTRY(invalidateregion),
                             ENTRY(forceredraw),
                             ENTRY(getstringidentifier),
                             ENTRY(getstringidentifiers),
                             ENTRY(getintidentifier),
                             ENTRY(identifierisstring),
                             ENTRY(utf8fromidentifier),
                             ENTRY(intfromidentifier),
                             ENTRY(createobject),
                             ENTRY(retainobject),
                             ENTRY(releaseobject),
                             ENTRY(invoke),
                             ENTRY(invokeDefault),
                             ENTRY(evaluate),
                             ENTRY(getproperty),
                             ENTRY(setproperty),
                             ENTRY(removeproperty),
                             ENTRY(hasproperty),
                             ENTRY(hasmethod),
                             ENTRY(releasevariantvalue),
                             ENTRY(setexception),
                             ENTRY(pushpopupsenabledstate),
                             ENTRY(poppopupsenabledstate),
                             ENTRY(enumerate),
                             ENTRY(pluginthreadasynccall),
                             ENTRY(construct),
                             ENTRY(getvalueforurl),
                             ENTRY(setvalueforurl),
                             ENTRY(getauthenticationinfo),
                             ENTRY(scheduletimer),
                             ENTRY(unscheduletimer),
                             ENTRY(popupcontextmenu),
                             ENTRY(convertpoint),
                             ENTRY(handleevent),
                             ENTRY(unfocusinstance),
                             ENTRY(urlredirectresponse),
                             ENTRY(initasyncsurface),
                             ENTRY(finalizeasyncsurface),
                             ENTRY(setcurrentasyncsurface)};
#undef ENTRY
#define ENTRY(entry) offsetof(NPPluginFuncs, entry)
  const size_t kPlugin[] = {ENTRY(size),          ENTRY(newp),
                            ENTRY(destroy),       ENTRY(setwindow),
                            ENTRY(newstream),     ENTRY(destroystream),
                            ENTRY(asfile),        ENTRY(writeready),
                            ENTRY(write),         ENTRY(print),
                            ENTRY(event),         ENTRY(urlnotify),
                            ENTRY(javaClass),     ENTRY(getvalue),
                            ENTRY(setvalue),      ENTRY(gotfocus),
                            ENTRY(lostfocus),     ENTRY(urlredirectnotify),
                            ENTRY(clearsitedata), ENTRY(getsiteswithdata),
                            ENTRY(didComposite)};
#undef ENTRY
  const auto inOrder = [](const char* table, const auto& offsets, size_t size) {
    for (size_t i = 0; i < std::size(offsets); ++i) {
      EXPECT_EQ(offsets[i], i * sizeof(void*)) << table << ", word " << i;
    }
    EXPECT_EQ(std::size(offsets) * sizeof(void*), size) << table;
  };
  inOrder("NPClass", kClass, sizeof(NPClass));
  inOrder("NPNetscapeFuncs", kBrowser, sizeof(NPNetscapeFuncs));
  inOrder("NPPluginFuncs", kPlugin, sizeof(NPPluginFuncs));
  EXPECT_EQ(offsetof(NPNetscapeFuncs, version), 2U);
  EXPECT_EQ(offsetof(NPPluginFuncs, version), 2U);
}

TEST(NpapiHeaders, valueHelpersStoreTheTypeAndTheValue) {
  NPObject object = {};
  NPVariant v;
  BOOLEAN_TO_NPVARIANT(true, v);
  EXPECT_TRUE(NPVARIANT_IS_BOOLEAN(v) && NPVARIANT_TO_BOOLEAN(v));
  INT32_TO_NPVARIANT(-7, v);
  EXPECT_TRUE(NPVARIANT_IS_INT32(v) && NPVARIANT_TO_INT32(v) == -7);
  DOUBLE_TO_NPVARIANT(0.5, v);
  EXPECT_TRUE(NPVARIANT_IS_DOUBLE(v) && NPVARIANT_TO_DOUBLE(v) == 0.5);
  STRINGZ_TO_NPVARIANT("text", v);
  EXPECT_TRUE(NPVARIANT_IS_STRING(v) && NPVARIANT_TO_STRING(v).UTF8Length == 4);
  OBJECT_TO_NPVARIANT(&object, v);
  EXPECT_TRUE(NPVARIANT_IS_OBJECT(v) && NPVARIANT_TO_OBJECT(v) == &object);
  NULL_TO_NPVARIANT(v);
  EXPECT_TRUE(NPVARIANT_IS_NULL(v) && !NPVARIANT_IS_OBJECT(v));
  VOID_TO_NPVARIANT(v);
  EXPECT_TRUE(NPVARIANT_IS_VOID(v) && !NPVARIANT_IS_NULL(v));
}

}  // namespace
