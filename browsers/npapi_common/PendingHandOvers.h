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
  using Owner = uint64_t;  // an instance
  using Ticket = uintptr_t;

  PendingHandOvers() = delete;

  // Names a new instance.
  static Owner newOwner();

  // Delivers the hand-over on the main thread, in the order of posting. Any thread; the instance
  // must live until this returns. Throws std::bad_alloc, with the hand-over destroyed.
  static void post(Owner owner, NPP instance, std::unique_ptr<HandOver> handOver);

  // Keeps a page object for somebody who may outlive the owner or may not release it on its own
  // thread. Main thread only; no ticket is 0. Throws std::bad_alloc.
  static Ticket keep(Owner owner, NPObjectRef object);
  // Gives it back; empty when that was done before or the owner has ended. Main thread only.
  static NPObjectRef take(Ticket ticket);

  // Frees, undelivered, all that the owner has here. Main thread only.
  static void freeAll(Owner owner);

 private:
  static void deliver(void* ticket);
};

#endif  // BROWSERS_NPAPI_COMMON_PENDING_HAND_OVERS_H_
