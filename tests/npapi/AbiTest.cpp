#include <gmock/gmock.h>

#include <cstddef>
#include <type_traits>
#include <vector>

#include "npapi/npfunctions.h"

// The binary interface as browsers have it on x86-64 Linux: the layout of what crosses it.

namespace {

using testing::ElementsAre;

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

// The members' offsets, one by one, must be those that are listed behind them.
template <typename... Offset>
std::vector<size_t> offsets(Offset... each) {
  return {each...};
}

TEST(NpapiHeaders, layMembersOutAsBrowsersDo) {
  EXPECT_THAT(offsets(offsetof(NPObject, _class), offsetof(NPObject, referenceCount)),
              ElementsAre(0, 8));
  EXPECT_THAT(offsets(offsetof(NPVariant, type), offsetof(NPVariant, value)), ElementsAre(0, 8));
  EXPECT_THAT(offsets(offsetof(NPString, UTF8Characters), offsetof(NPString, UTF8Length)),
              ElementsAre(0, 8));
  EXPECT_THAT(
      offsets(offsetof(NPWindow, window), offsetof(NPWindow, x), offsetof(NPWindow, y),
              offsetof(NPWindow, width), offsetof(NPWindow, height), offsetof(NPWindow, clipRect),
              offsetof(NPWindow, ws_info), offsetof(NPWindow, type)),
      ElementsAre(0, 8, 12, 16, 20, 24, 32, 40));
  EXPECT_THAT(offsets(offsetof(NPStream, pdata), offsetof(NPStream, ndata), offsetof(NPStream, url),
                      offsetof(NPStream, end), offsetof(NPStream, lastmodified),
                      offsetof(NPStream, notifyData), offsetof(NPStream, headers)),
              ElementsAre(0, 8, 16, 24, 28, 32, 40));
  EXPECT_THAT(offsets(offsetof(NPSetWindowCallbackStruct, type),
                      offsetof(NPSetWindowCallbackStruct, display),
                      offsetof(NPSetWindowCallbackStruct, visual),
                      offsetof(NPSetWindowCallbackStruct, colormap),
                      offsetof(NPSetWindowCallbackStruct, depth)),
              ElementsAre(0, 8, 16, 24, 32));
  EXPECT_THAT(offsets(offsetof(NPP_t, pdata), offsetof(NPP_t, ndata)), ElementsAre(0, 8));
  EXPECT_THAT(offsets(offsetof(NPRect, top), offsetof(NPRect, left), offsetof(NPRect, bottom),
                      offsetof(NPRect, right)),
              ElementsAre(0, 2, 4, 6));
  EXPECT_THAT(offsets(offsetof(NPSavedData, len), offsetof(NPSavedData, buf)), ElementsAre(0, 8));
}

// The entries are one machine word each, in the order that both sides count on.
template <typename... Offset>
void expectWords(size_t size, Offset... each) {
  size_t next = 0;
  for (const size_t offset : {each...}) {
    EXPECT_EQ(offset, next) << "word " << next / sizeof(void*) << " of " << size / sizeof(void*);
    next += sizeof(void*);
  }
  EXPECT_EQ(next, size);
}

TEST(NpapiHeaders, orderTheTablesAsBrowsersDo) {
#define ENTRY(entry) offsetof(NPClass, entry)
  expectWords(sizeof(NPClass), ENTRY(structVersion), ENTRY(allocate), ENTRY(deallocate),
              ENTRY(invalidate), ENTRY(hasMethod), ENTRY(invoke), ENTRY(invokeDefault),
              ENTRY(hasProperty), ENTRY(getProperty), ENTRY(setProperty), ENTRY(removeProperty),
              ENTRY(enumerate), ENTRY(construct));
#undef ENTRY
#define ENTRY(entry) offsetof(NPNetscapeFuncs, entry)
  expectWords(sizeof(NPNetscapeFuncs), ENTRY(size), ENTRY(geturl), ENTRY(posturl),
              ENTRY(requestread), ENTRY(newstream), ENTRY(write), ENTRY(destroystream),
              ENTRY(status), ENTRY(uagent), ENTRY(memalloc), ENTRY(memfree), ENTRY(memflush),
              ENTRY(reloadplugins), ENTRY(getJavaEnv), ENTRY(getJavaPeer), ENTRY(geturlnotify),
              ENTRY(posturlnotify), ENTRY(getvalue), ENTRY(setvalue), ENTRY(invalidaterect),
              ENTRY(invalidateregion), ENTRY(forceredraw), ENTRY(getstringidentifier),
              ENTRY(getstringidentifiers), ENTRY(getintidentifier), ENTRY(identifierisstring),
              ENTRY(utf8fromidentifier), ENTRY(intfromidentifier), ENTRY(createobject),
              ENTRY(retainobject), ENTRY(releaseobject), ENTRY(invoke), ENTRY(invokeDefault),
              ENTRY(evaluate), ENTRY(getproperty), ENTRY(setproperty), ENTRY(removeproperty),
              ENTRY(hasproperty), ENTRY(hasmethod), ENTRY(releasevariantvalue), ENTRY(setexception),
              ENTRY(pushpopupsenabledstate), ENTRY(poppopupsenabledstate), ENTRY(enumerate),
              ENTRY(pluginthreadasynccall), ENTRY(construct), ENTRY(getvalueforurl),
              ENTRY(setvalueforurl), ENTRY(getauthenticationinfo), ENTRY(scheduletimer),
              ENTRY(unscheduletimer), ENTRY(popupcontextmenu), ENTRY(convertpoint),
              ENTRY(handleevent), ENTRY(unfocusinstance), ENTRY(urlredirectresponse),
              ENTRY(initasyncsurface), ENTRY(finalizeasyncsurface), ENTRY(setcurrentasyncsurface));
#undef ENTRY
#define ENTRY(entry) offsetof(NPPluginFuncs, entry)
  expectWords(sizeof(NPPluginFuncs), ENTRY(size), ENTRY(newp), ENTRY(destroy), ENTRY(setwindow),
              ENTRY(newstream), ENTRY(destroystream), ENTRY(asfile), ENTRY(writeready),
              ENTRY(write), ENTRY(print), ENTRY(event), ENTRY(urlnotify), ENTRY(javaClass),
              ENTRY(getvalue), ENTRY(setvalue), ENTRY(gotfocus), ENTRY(lostfocus),
              ENTRY(urlredirectnotify), ENTRY(clearsitedata), ENTRY(getsiteswithdata),
              ENTRY(didComposite));
#undef ENTRY
  EXPECT_EQ(offsetof(NPNetscapeFuncs, version), 2U);
  EXPECT_EQ(offsetof(NPPluginFuncs, version), 2U);
}

}  // namespace
