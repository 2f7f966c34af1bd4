#ifndef BENCH_BAREEXCHANGE_H_
#define BENCH_BAREEXCHANGE_H_

#include <cstddef>
#include <cstdint>
#include <string>

namespace bench {

// The bytes of a request as the module sends it.
std::string requestText(const std::string& method, const std::string& target,
                        const std::string& body);

constexpr size_t kUntilItCloses = SIZE_MAX;

// What an exchange costs at least: one connection to the loopback port, one send, reads of 1024
// bytes until so much has come. Empty when it failed.
std::string bareExchange(int port, const std::string& request, size_t responseSize);

}  // namespace bench

#endif  // BENCH_BAREEXCHANGE_H_
