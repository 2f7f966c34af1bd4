#ifndef PLUGIN_SRC_TRANSFER_H_
#define PLUGIN_SRC_TRANSFER_H_

#include <map>
#include <string>
#include <vector>

namespace Pellion::Web {

// One transfer that the local application is asked to make. Fill it in, then request() once. Used
// by one thread.
class Transfer {
 public:
  Transfer() = default;
  virtual ~Transfer() = default;
  Transfer(const Transfer&) = delete;
  Transfer& operator=(const Transfer&) = delete;

  // Each replaces all earlier sources.
  void setSource(const std::string& source);
  void setSource(const std::vector<std::string>& sources);
  // Empty lets the application choose.
  void setDestination(const std::string& destination);
  void setParam(const std::string& name, const std::string& value);

  // Launches the application if needed and posts the transfer. Blocks. True when it answered,
  // whatever it said.
  bool request();

 private:
  std::string document() const;

  std::vector<std::string> _sources;
  std::string _destination;
  std::map<std::string, std::string> _params;
};

}  // namespace Pellion::Web

#endif  // PLUGIN_SRC_TRANSFER_H_
