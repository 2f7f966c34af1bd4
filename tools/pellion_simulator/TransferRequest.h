#ifndef PELLION_SIMULATOR_TRANSFER_REQUEST_H_
#define PELLION_SIMULATOR_TRANSFER_REQUEST_H_

#include <string>
#include <vector>

namespace pellion_simulator {

enum class Direction { eReceive, eSend };

struct RequestedPath {
  std::string source;
  // The wanted name below the destination. It may hold "/"; one that can only be a directory's, as
  // "sub/" and ".", means the source's own name there, and so does none.
  std::string name;
};

// What a client asks to be moved, checked for its form but not yet against files and servers.
struct TransferRequest {
  // How `destination` is to be read.
  enum class Base {
    eDownloads,  // relative, below the download directory; a directory
    ePlace,      // absolute; a directory when it is one, ends in "/", or several things go there
  };

  std::string appId;
  Direction direction = Direction::eReceive;
  std::vector<RequestedPath> paths;
  Base base = Base::eDownloads;
  std::string destination;
};

// The xferreq document: all sources local and a destination make an upload, all else is a download.
// Throws ApiError (400).
TransferRequest parseXferreq(const std::string& xml);

// The JSON body with "transfer_specs": one request an element. Throws ApiError (400).
std::vector<TransferRequest> parseTransferSpecs(const std::string& json);

}  // namespace pellion_simulator

#endif  // PELLION_SIMULATOR_TRANSFER_REQUEST_H_
