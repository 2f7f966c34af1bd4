#ifndef TESTS_SUPPORT_FAKE_BROWSER_H_
#define TESTS_SUPPORT_FAKE_BROWSER_H_

#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "npapi/npfunctions.h"
#include "tests/support/PageObject.h"

namespace test_support {

// A browser for unit tests: a complete function table, one page with a window object, and instances
// of a plugin. It counts memory and object references and notes every breach of the rules (a call
// off the main thread, with a dead instance, of an entry that plugins here must not use; a wrong
// free or release). A breach that no test takes fails the test. One may exist at a time; the thread
// that makes it is the main thread, and only asynchronous calls may come from others.
class FakeBrowser {
 public:
  // What becomes of asynchronous calls that are pending when their instance goes.
  enum class Pending { kDropped, kDeliveredLate };
  using Parameters = std::vector<std::pair<const char*, const char*>>;

  FakeBrowser();
  ~FakeBrowser();
  FakeBrowser(const FakeBrowser&) = delete;
  FakeBrowser& operator=(const FakeBrowser&) = delete;
  static FakeBrowser& current();

  // The table; a test may change its entries before it hands it on.
  NPNetscapeFuncs* functions() { return &_functions; }

  // The page. The browser keeps one reference of every object made here, until dropObject.
  PageObject* newObject();
  PageObject* newFunction(PageFunction function = nullptr);
  void dropObject(PageObject* object);
  PageObject* window() { return _window; }
  PageObject* location() { return _location; }
  void setUserAgent(const std::string& userAgent) { _userAgent = userAgent; }
  // As some hosts do: an object's header stays as its class's own `allocate` made it.
  void leaveHeaders() { _fillsHeaders = false; }

  // Script access to any object, as the page has it; false and empty when the object refuses.
  // Results are released as an engine does, texts and objects alike.
  bool hasMethod(NPObject* object, const std::string& name);
  bool hasProperty(NPObject* object, const std::string& name);
  std::optional<PageValue> call(NPObject* object, const std::string& name,
                                const PageArguments& arguments = {});
  std::optional<PageValue> getProperty(NPObject* object, const std::string& name);
  bool setProperty(NPObject* object, const std::string& name, const PageValue& value);
  // A variant that owns its text and holds its object, for calls that a test makes itself; pass it
  // to functions()->releasevariantvalue.
  NPVariant makeVariant(const PageValue& value);
  NPIdentifier stringIdentifier(const std::string& name);
  std::string nameOf(NPIdentifier identifier) const;

  // Instances. An address that was given back is the first to be given out again.
  NPP openInstance();
  // Treats pending calls as set, and invalidates the script objects of the instance.
  void closeInstance(NPP instance);
  // The whole way through a module's table: null when the module refuses the instance.
  NPP createInstance(const NPPluginFuncs& plugin, const Parameters& parameters = {});
  void destroyInstance(const NPPluginFuncs& plugin, NPP instance);
  // The instance's script object with one reference more, or null.
  NPObject* scriptObject(const NPPluginFuncs& plugin, NPP instance);

  // Asynchronous calls.
  void setPending(Pending pending) { _pending = pending; }
  // Runs what is queued now and answers how many calls it ran.
  size_t pump();
  // Runs calls as they come until the condition holds; false after 20 seconds.
  bool pumpUntil(const std::function<bool()>& condition);
  size_t queuedCalls() const;

  // The counts.
  const std::vector<std::string>& fetchedUrls() const { return _fetchedUrls; }
  void setGetUrlResult(NPError result) { _getUrlResult = result; }
  // Live blocks of the browser's memory. The texts of identifiers are counted apart.
  size_t liveBlocks() const { return _blocks.size(); }
  size_t liveNames() const { return _names.size(); }
  // The n-th allocation from now (the first is 1) answers null, be it of memory or of a name's
  // text; none for 0.
  void failAllocation(int n) { _allocationsUntilFailure = n; }
  // How many the plugin has asked for.
  int allocations() const { return _allocations; }
  // The types of the variants that the plugin gave back, in order.
  const std::vector<NPVariantType>& releasedVariants() const { return _releasedVariants; }
  // How often the plugin retained and released an object.
  int retains(const NPObject* object) const;
  int releases(const NPObject* object) const;
  // The breaches so far; the destructor no longer reports them.
  std::vector<std::string> takeBreaches();

 private:
  struct Table;  // The functions of the table.
  struct Identifier {
    bool isString;
    std::string text;
    int32_t number;
  };
  struct AsyncCall {
    NPP instance;
    void (*function)(void*);
    void* data;
  };

  void fillTable();
  void breach(const std::string& text);
  void checkMain(const char* function);
  void checkInstance(NPP instance, const char* function);
  void checkObject(NPObject* object, const char* function);
  bool failsNow();
  void* allocate(uint32_t size, std::set<void*>& blocks);
  void release(void* memory);
  NPObject* adopt(NPP instance, NPObject* object, NPClass* objectClass);
  void retain(NPObject* object);
  void unretain(NPObject* object);
  void clear(NPVariant* variant);
  std::optional<PageValue> takeResult(bool answered, NPVariant* result);
  bool runNext();

  NPNetscapeFuncs _functions;
  const std::thread::id _mainThread;
  PageObject* _window;
  PageObject* _location;
  std::string _userAgent = "FakeBrowser/1.0";
  bool _fillsHeaders = true;
  Pending _pending = Pending::kDropped;
  NPError _getUrlResult = NPERR_NO_ERROR;
  std::vector<std::string> _fetchedUrls;
  std::set<void*> _blocks;
  std::set<void*> _names;
  int _allocations = 0;
  int _allocationsUntilFailure = 0;
  std::vector<NPVariantType> _releasedVariants;
  std::map<const NPObject*, int> _retains;
  std::map<const NPObject*, int> _releases;
  std::map<NPObject*, NPP> _objects;  // live ones, with the instance that made them
  std::set<NPObject*> _pageHolds;
  std::map<std::string, std::unique_ptr<Identifier>> _stringIdentifiers;
  std::map<int32_t, std::unique_ptr<Identifier>> _intIdentifiers;
  std::vector<std::unique_ptr<NPP_t>> _instances;
  std::vector<NPP> _freeInstances;

  mutable std::mutex _mutex;
  std::condition_variable _queueChanged;
  std::deque<AsyncCall> _queue;        // guarded by _mutex
  std::set<NPP> _open;                 // guarded by _mutex
  std::vector<std::string> _breaches;  // guarded by _mutex
};

}  // namespace test_support

#endif  // TESTS_SUPPORT_FAKE_BROWSER_H_
