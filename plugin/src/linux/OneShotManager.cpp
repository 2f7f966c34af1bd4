#include "plugin/src/linux/OneShotManager.h"

#include <glib.h>

#include <memory>

#include "ovlib/ovlog.h"
#include "plugin/src/Guarded.h"

namespace Pellion::Web {

namespace {

struct PostedItem {
  void (*function)(void*);
  void* data;
};

gboolean callback(gpointer posted) {
  const std::unique_ptr<PostedItem> item(static_cast<PostedItem*>(posted));
  runGuarded("Posted step", [&item] { item->function(item->data); });
  return G_SOURCE_REMOVE;
}

}  // namespace

OneShotManager::OneShotManager() {
  ov_trace("%p OneShotManager()", static_cast<void*>(this));
}

OneShotManager::~OneShotManager() {
  ov_trace("%p ~OneShotManager()", static_cast<void*>(this));
}

void OneShotManager::scheduleAsyncCallback(void (*function)(void*), void* data) {
  ov_trace("%p OneShotManager::scheduleAsyncCallback()", static_cast<void*>(this));
  g_timeout_add(1, callback, new PostedItem{function, data});
}

void OneShotManager::asyncCallback() {}

}  // namespace Pellion::Web
