#ifndef BENCH_SMALLBROWSER_H_
#define BENCH_SMALLBROWSER_H_

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <initializer_list>
#include <mutex>
#include <string>

#include "npapi/npfunctions.h"

namespace bench {

// A browser that costs next to nothing: it loads the module from its file and offers the entries of
// the function table that the module uses. Its page has an address and one function, whose calls it
// counts, like the memory that it has given out. One may exist at a time; the thread that makes it
// is the main thread.
class SmallBrowser {
 public:
  // Loads and initialises the module; throws a runtime error when that fails.
  explicit SmallBrowser(const std::string& modulePath = builtModule());
  // Shuts the module down.
  ~SmallBrowser();
  SmallBrowser(const SmallBrowser&) = delete;
  SmallBrowser& operator=(const SmallBrowser&) = delete;

  static std::string builtModule();

  // An element of the page; throws when the module refuses it.
  NPP open();
  void close(NPP instance);
  // The element's script object, held by the page until its element is closed.
  NPObject* scriptObject(NPP instance);

  // Calls a method as an engine does: asks for it, invokes it, and releases the result.
  static void call(NPObject* object, const char* method,
                   std::initializer_list<const char*> texts = {}, NPObject* function = nullptr);

  static void setProperty(NPObject* object, const char* property, NPObject* value);

  // The page's function.
  NPObject* function() { return &_function; }
  // Runs posted steps until the function has been called so often since the last time; throws when
  // none comes for long.
  void runUntilCalled(size_t calls);

  // Bytes of the heap that the module has of the browser's memory, and those of the script objects
  // that live and of all classes that it had made.
  size_t liveBytes() const { return _liveBytes; }
  size_t objectBytes() const { return _objectBytes; }

 private:
  struct Table;  // The functions of the table.
  struct Step {
    void (*function)(void*);
    void* data;
  };

  NPNetscapeFuncs _functions = {};
  NPPluginFuncs _plugin = {};
  void* _module;
  NPObject _window;
  NPObject _location;
  NPObject _function;
  size_t _calls = 0;
  size_t _liveBytes = 0;
  size_t _objectBytes = 0;
  std::mutex _mutex;
  std::condition_variable _stepPosted;
  std::deque<Step> _steps;  // guarded by _mutex
};

}  // namespace bench

#endif  // BENCH_SMALLBROWSER_H_
