#include "plugin/src/linux/OneShotManager.h"

#include <glib.h>

#include <exception>
#include <memory>

#include "ovlib/ovlog.h"

namespace Pellion::Web {

namespace {

struct PostedItem {
  void (*function)(void*);
  void* data;
};

gboolean callback(gpointer posted) {
  const std::unique_ptr<PostedItem> item(static_cast<PostedItem*>(posted));
  try {
    item->function(item->data);
  } catch (const std::exception& e) {
    ov_err("Posted step ended by an exception: %s", e.what());
  }
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
