#include "tools/pellion_simulator/TransferJob.h"

#include "tools/pellion_simulator/Log.h"
#include "tools/pellion_simulator/Movers.h"
#include "tools/pellion_simulator/TransferPlan.h"

namespace pellion_simulator {

namespace {

// Where the file lies in the end.
std::string moveFile(const PlannedFile& file, MoveProgress* progress) {
  if (!file.target.isLocal()) {
    uploadFile(file.source.text(), file.target.text(), progress);
    return file.target.text();
  }
  PendingFile pending(file.target.text());
  if (file.source.isLocal()) {
    copyFile(file.source.text(), &pending, progress);
  } else {
    downloadFile(file.source.text(), &pending, progress);
  }
  return pending.publish();
}

void moveAll(const std::vector<PlannedFile>& plan, Transfer* transfer, RateLimiter* limiter) {
  for (size_t i = 0; i < plan.size(); ++i) {
    MoveProgress progress(transfer, i, limiter);
    try {
      transfer->finishFile(i, moveFile(plan[i], &progress));
    } catch (const MoveCancelled&) {
      throw;
    } catch (const std::exception& error) {
      throw std::runtime_error(plan[i].source.fileName() + ": " + error.what());
    }
  }
}

std::vector<TransferFile> listFiles(const std::vector<PlannedFile>& plan) {
  std::vector<TransferFile> files;
  files.reserve(plan.size());
  for (const PlannedFile& file : plan) {
    files.push_back({file.source.text(), file.target.text(), 0, file.expected});
  }
  return files;
}

}  // namespace

void runTransfer(Transfer* transfer, const std::string& downloadDirectory, RateLimiter* limiter) {
  if (!transfer->begin()) {
    return;
  }
  const std::string title = "Transfer " + transfer->id() + ": ";
  try {
    const std::vector<PlannedFile> plan =
        planTransfer(transfer->request(), downloadDirectory, [transfer] {
          if (transfer->isCancelled()) {
            throw MoveCancelled();
          }
        });
    transfer->setFiles(listFiles(plan));
    moveAll(plan, transfer, limiter);
    transfer->finish(TransferStatus::eCompleted);
    logLine(title + "completed, " + std::to_string(transfer->state().written()) + " bytes");
  } catch (const MoveCancelled&) {
    transfer->finish(TransferStatus::eCancelled);
    logLine(title + "cancelled");
  } catch (const std::exception& error) {
    transfer->finish(TransferStatus::eFailed, error.what());
    logLine(title + "failed: " + error.what());
  }
}

}  // namespace pellion_simulator
