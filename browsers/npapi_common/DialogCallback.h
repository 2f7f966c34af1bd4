#ifndef BROWSERS_NPAPI_COMMON_DIALOG_CALLBACK_H_
#define BROWSERS_NPAPI_COMMON_DIALOG_CALLBACK_H_

#include "browsers/npapi_common/OpenDialogMark.h"
#include "browsers/npapi_common/PendingHandOvers.h"
#include "plugin/src/Callback.h"

// Brings the result of a posted dialog to a page function. The posted step that owns it may outlive
// the instance: the reference on the function is then released with the instance. Main thread only.
class DialogCallback : public Pellion::Web::Callback {
 public:
  enum Type { eOpenFile = 0, eOpenFolder = 1, eSaveFile = 2 };

  // `owner` is the instance among the pending hand-overs, `openDialogs` the count of its
  // dialogs, which has this one until the page is told.
  DialogCallback(NPP instance, PendingHandOvers::Owner owner, NPObject* callback, Type type,
                 OpenDialogMark::Count openDialogs);
  ~DialogCallback() override;

  // `dialog` is the finished FileDialog as a Runnable. The instance lives and may be destroyed in
  // the call.
  void handleCallback(void* dialog) override;

 private:
  const NPP _instance;
  const PendingHandOvers::Ticket _callbackTicket;
  const Type _type;
  OpenDialogMark _mark;
};

#endif  // BROWSERS_NPAPI_COMMON_DIALOG_CALLBACK_H_
