#ifndef TOOLS_NPAPI_HOST_MODULE_H_
#define TOOLS_NPAPI_HOST_MODULE_H_

#include <string>

#include "npapi/npfunctions.h"

namespace npapi_host {

// The plugin module, from dlopen to dlclose: load(), start(), instances, stop().
class Module {
 public:
  Module() = default;
  ~Module();
  Module(const Module&) = delete;
  Module& operator=(const Module&) = delete;

  // The path given, else the first nporvaneweb.so in the usual places. Empty, with a message, when
  // there is none; `advice` says there how the user names one.
  static std::string find(const std::string& given, const std::string& advice, std::string* error);

  // Opens the file and asks what it offers, as browsers do when they look for plugins: before
  // NP_Initialize.
  bool load(const std::string& path, std::string* error);
  // NP_Initialize. The table stays in use until stop().
  bool start(NPNetscapeFuncs* browser, std::string* error);
  // NP_Shutdown; the instances must have ended.
  void stop();

  const NPPluginFuncs& functions() const { return _functions; }
  const std::string& mimeType() const { return _mimeType; }
  const std::string& name() const { return _name; }

 private:
  template <typename Function>
  bool resolve(const char* symbol, Function* function) const;

  void* _library = nullptr;
  bool _started = false;
  NPPluginFuncs _functions = {};
  std::string _mimeType;
  std::string _name;
};

}  // namespace npapi_host

#endif  // TOOLS_NPAPI_HOST_MODULE_H_
