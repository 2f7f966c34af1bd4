#ifndef PELLION_SIMULATOR_API_ERROR_H_
#define PELLION_SIMULATOR_API_ERROR_H_

#include <stdexcept>
#include <string>

namespace pellion_simulator {

// A request that cannot be served: the HTTP status and a text for its sender.
class ApiError : public std::runtime_error {
 public:
  ApiError(int status, const std::string& message) : std::runtime_error(message), _status(status) {}
  int status() const { return _status; }

 private:
  int _status;
};

// The document in which failures are told: {"error":{"code":...,"user_message":"..."}}.
std::string errorDocument(int code, const std::string& message);

}  // namespace pellion_simulator

#endif  // PELLION_SIMULATOR_API_ERROR_H_
