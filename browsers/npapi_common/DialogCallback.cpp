#include "browsers/npapi_common/DialogCallback.h"

#include <string>
#include <utility>
#include <vector>

#include "browsers/npapi_common/StringCallbackMessage.h"
#include "browsers/npapi_common/ovOrvaneWebPlugin.h"
#include "os/src/FileDialog.h"
#include "ovlib/ovlog.h"
#include "plugin/src/PlugIn.h"

using Pellion::Web::FileDialog;
using Pellion::Web::Runnable;

DialogCallback::DialogCallback(NPP instance, PendingHandOvers::Owner owner, NPObject* callback,
                               Type type, OpenDialogMark::Count openDialogs)
    : _instance(instance),
      _callbackTicket(PendingHandOvers::keep(owner, NPObjectRef(callback))),
      _type(type),
      _mark(std::move(openDialogs)) {}

DialogCallback::~DialogCallback() {
  PendingHandOvers::take(_callbackTicket);
}

void DialogCallback::handleCallback(void* dialog) {
  auto* job = static_cast<FileDialog*>(static_cast<Runnable*>(dialog));
  const std::string text = job->resultStr();
  ov_trace("DialogCallback::handleCallback() - result=%lu resultStr=%s", job->result(),
           text.c_str());
  const std::vector<std::string>& paths = job->selectedPaths();
  if (job->result() != 0 && _type != eOpenFile && !paths.empty()) {
    auto* plugin = static_cast<ovOrvaneWebPlugin*>(_instance->pdata);
    if (plugin != nullptr) {
      plugin->getPlugin()->setLastSelectedPath(paths.front());
    }
  }
  // The page may ask for its next dialog in the call.
  _mark.remove();
  callbackBrowser(StringCallbackMessage(_instance, _callbackTicket, text));
}
