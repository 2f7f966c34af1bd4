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

// Expects all members, in this order, each where its size and alignment put it behind the one
// before.
template <typename Record, typename... Members>
void expectLayout(Members Record::*... members) {
  const Record record = {};
  size_t next = 0;
  const auto expect = [&](const auto& member) {
    const size_t alignment = alignof(std::decay_t<decltype(member)>);
    next = (next + alignment - 1) / alignment * alignment;
    EXPECT_EQ(reinterpret_cast<const char*>(&member) - reinterpret_cast<const char*>(&record), next)
        << "of " << sizeof(Record);
    next += sizeof(member);
  };
  (expect(record.*members), ...);
  EXPECT_GT(next + alignof(Record), sizeof(Record));
}

TEST(NpapiHeaders, layMembersOutAsBrowsersDo) {
  expectLayout(&NPObject::_class, &NPObject::referenceCount);
  expectLayout(&NPVariant::type, &NPVariant::value);
  expectLayout(&NPString::UTF8Characters, &NPString::UTF8Length);
  expectLayout(&NPWindow::window, &NPWindow::x, &NPWindow::y, &NPWindow::width, &NPWindow::height,
               &NPWindow::clipRect, &NPWindow::ws_info, &NPWindow::type);
  expectLayout(&NPStream::pdata, &NPStream::ndata, &NPStream::url, &NPStream::end,
               &NPStream::lastmodified, &NPStream::notifyData, &NPStream::headers);
  using System = NPSetWindowCallbackStruct;
  expectLayout(&System::type, &System::display, &System::visual, &System::colormap, &System::depth);
  expectLayout(&NPP_t::pdata, &NPP_t::ndata);
  expectLayout(&NPRect::top, &NPRect::left, &NPRect::bottom, &NPRect::right);
  expectLayout(&NPSavedData::len, &NPSavedData::buf);
}

TEST(NpapiHeaders, orderTheTablesAsBrowsersDo) {
#define ENTRY(entry) &NPClass::entry
  expectLayout(ENTRY(structVersion), ENTRY(allocate), ENTRY(deallocate), ENTRY(invalidate),
               ENTRY(hasMethod), ENTRY(invoke), ENTRY(invokeDefault), ENTRY(hasProperty),
               ENTRY(getProperty), ENTRY(setProperty), ENTRY(removeProperty), ENTRY(enumerate),
               ENTRY(construct));
#undef ENTRY
#define ENTRY(entry) &NPNetscapeFuncs::entry
  expectLayout(ENTRY(size), ENTRY(version), ENTRY(geturl), ENTRY(posturl), ENTRY(requestread),
               ENTRY(newstream), ENTRY(write), ENTRY(destroystream), ENTRY(status), ENTRY(uagent),
               ENTRY(memalloc), ENTRY(memfree), ENTRY(memflush), ENTRY(reloadplugins),
               ENTRY(getJavaEnv), ENTRY(getJavaPeer), ENTRY(geturlnotify), ENTRY(posturlnotify),
               ENTRY(getvalue), ENTRY(setvalue), ENTRY(invalidaterect), ENTRY(invalidateregion),
               ENTRY(forceredraw), ENTRY(getstringidentifier), ENTRY(getstringidentifiers),
               ENTRY(getintidentifier), ENTRY(identifierisstring), ENTRY(utf8fromidentifier),
               ENTRY(intfromidentifier), ENTRY(createobject), ENTRY(retainobject),
               ENTRY(releaseobject), ENTRY(invoke), ENTRY(invokeDefault), ENTRY(evaluate),
               ENTRY(getproperty), ENTRY(setproperty), ENTRY(removeproperty), ENTRY(hasproperty),
               ENTRY(hasmethod), ENTRY(releasevariantvalue), ENTRY(setexception),
               ENTRY(pushpopupsenabledstate), ENTRY(poppopupsenabledstate), ENTRY(enumerate),
               ENTRY(pluginthreadasynccall), ENTRY(construct), ENTRY(getvalueforurl),
               ENTRY(setvalueforurl), ENTRY(getauthenticationinfo), ENTRY(scheduletimer),
               ENTRY(unscheduletimer), ENTRY(popupcontextmenu), ENTRY(convertpoint),
               ENTRY(handleevent), ENTRY(unfocusinstance), ENTRY(urlredirectresponse),
               ENTRY(initasyncsurface), ENTRY(finalizeasyncsurface), ENTRY(setcurrentasyncsurface));
#undef ENTRY
#define ENTRY(entry) &NPPluginFuncs::entry
  expectLayout(ENTRY(size), ENTRY(version), ENTRY(newp), ENTRY(destroy), ENTRY(setwindow),
               ENTRY(newstream), ENTRY(destroystream), ENTRY(asfile), ENTRY(writeready),
               ENTRY(write), ENTRY(print), ENTRY(event), ENTRY(urlnotify), ENTRY(javaClass),
               ENTRY(getvalue), ENTRY(setvalue), ENTRY(gotfocus), ENTRY(lostfocus),
               ENTRY(urlredirectnotify), ENTRY(clearsitedata), ENTRY(getsiteswithdata),
               ENTRY(didComposite));
#undef ENTRY
}

}  // namespace
