#ifndef BROWSERS_NPAPI_COMMON_PENDING_HAND_OVERS_H_
#define BROWSERS_NPAPI_COMMON_PENDING_HAND_OVERS_H_

#include <cstdint>
#include <memory>

#include "browsers/npapi_common/HandOver.h"
#include "browsers/npapi_common/NPObjectRef.h"

// What all instances have on its way to the main thread. The browser is given a ticket, never a
// pointer: a browser may drop what is pending when an instance ends, deliver it later, or give the
// instance's address to a new one. Ending an instance frees what it owns here, so that a dropped
// ticket leaks nothing and a late one finds nothing. Tickets and owners are never used twice.
class PendingHandOvers {
 public:
  using Ticket = uintptr_t;

  PendingHandOvers() = delete;

  // A number for a new instance.
  static uint64_t newOwner();

  // Delivers the hand-over on the main thread, in the order of posting. Any thread; the instance
  // must live until this returns.
  static void post(uint64_t owner, NPP instance, std::unique_ptr<HandOver> handOver);

  // Keeps a page object for somebody who may outlive the owner or may not release it on its own
  // thread. Any thread; no ticket is 0.
  static Ticket keep(uint64_t owner, NPObjectRef object);
  // Gives it back; empty when the owner has ended. Main thread only.
  static NPObjectRef take(Ticket ticket);

  // Frees, undelivered, all that the owner has here. Main thread only.
  static void freeAll(uint64_t owner);

 private:
  static void deliver(void* ticket);
};

#endif  // BROWSERS_NPAPI_COMMON_PENDING_HAND_OVERS_H_
