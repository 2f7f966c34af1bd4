#include "browsers/npapi_common/PendingHandOvers.h"

#include <glib.h>

#include <atomic>
#include <map>
#include <mutex>
#include <utility>

#include "browsers/npapi_common/CBoundary.h"

namespace {

template <typename Content>
struct Owned {
  PendingHandOvers::Owner owner;
  Content content;
};

template <typename Content>
using Entries = std::map<PendingHandOvers::Ticket, Owned<Content>>;

struct Registry {
  std::mutex mutex;
  // Guarded by the mutex, which is never held over a call into the browser.
  PendingHandOvers::Ticket lastTicket = 0;
  Entries<std::unique_ptr<HandOver>> handOvers;
  Entries<NPObjectRef> objects;
};

// Never destroyed: threads of an instance that the browser forgot may still post at its exit.
Registry& registry() {
  static Registry& instance = *new Registry;
  return instance;
}

template <typename Content>
Content takeEntry(Entries<Content>& entries, PendingHandOvers::Ticket ticket) {
  std::lock_guard<std::mutex> lock(registry().mutex);
  const auto found = entries.find(ticket);
  if (found == entries.end()) {
    return Content();
  }
  Content content = std::move(found->second.content);
  entries.erase(found);
  return content;
}

// Moves the entries as they are: an instance's end needs no memory.
template <typename Content>
Entries<Content> takeAll(Entries<Content>& entries, PendingHandOvers::Owner owner) {
  std::lock_guard<std::mutex> lock(registry().mutex);
  Entries<Content> taken;
  for (auto entry = entries.begin(); entry != entries.end();) {
    const auto current = entry++;
    if (current->second.owner == owner) {
      taken.insert(entries.extract(current));
    }
  }
  return taken;
}

// The entry is made before the lock is taken: for want of memory its content goes outside.
template <typename Content>
PendingHandOvers::Ticket addEntry(Entries<Content>& entries, PendingHandOvers::Owner owner,
                                  Content content) {
  Entries<Content> made;
  made.emplace(0, Owned<Content>{owner, std::move(content)});
  auto entry = made.extract(made.begin());
  std::lock_guard<std::mutex> lock(registry().mutex);
  const PendingHandOvers::Ticket ticket = ++registry().lastTicket;
  entry.key() = ticket;
  entries.insert(std::move(entry));
  return ticket;
}

}  // namespace

PendingHandOvers::Owner PendingHandOvers::newOwner() {
  static std::atomic<Owner> lastOwner{0};
  return ++lastOwner;
}

void PendingHandOvers::post(PendingHandOvers::Owner owner, NPP instance,
                            std::unique_ptr<HandOver> handOver) {
  auto* ticket =
      reinterpret_cast<void*>(addEntry(registry().handOvers, owner, std::move(handOver)));
  if (g_NPNFuncs.pluginthreadasynccall != nullptr) {
    g_NPNFuncs.pluginthreadasynccall(instance, deliver, ticket);
    return;
  }
  // A browser without asynchronous calls runs a GLib main loop all the same.
  const GSourceFunc deliverOnce = [](gpointer posted) -> gboolean {
    deliver(posted);
    return G_SOURCE_REMOVE;
  };
  g_idle_add_full(G_PRIORITY_DEFAULT, deliverOnce, ticket, nullptr);
}

void PendingHandOvers::deliver(void* ticket) {
  const std::unique_ptr<HandOver> handOver =
      takeEntry(registry().handOvers, reinterpret_cast<Ticket>(ticket));
  if (handOver == nullptr) {
    return;
  }
  CBoundary::run("Call into the page ended by an exception", [&] { handOver->deliver(); });
}

PendingHandOvers::Ticket PendingHandOvers::keep(PendingHandOvers::Owner owner, NPObjectRef object) {
  return addEntry(registry().objects, owner, std::move(object));
}

NPObjectRef PendingHandOvers::take(Ticket ticket) {
  return takeEntry(registry().objects, ticket);
}

void PendingHandOvers::freeAll(PendingHandOvers::Owner owner) {
  takeAll(registry().handOvers, owner);
  takeAll(registry().objects, owner);
}
