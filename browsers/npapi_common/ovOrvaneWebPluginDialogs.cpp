// The page's file dialogs. While one is shown the browser goes on: the page may end the instance
// or ask for another dialog.

#include <exception>

#include "browsers/npapi_common/DialogCallback.h"
#include "browsers/npapi_common/ScriptCall.h"
#include "browsers/npapi_common/ovOrvaneWebPlugin.h"
#include "browsers/npapi_common/ovUtility.h"
#include "os/src/OpenFileDialog.h"
#include "os/src/OpenFolderDialog.h"
#include "os/src/SaveFileDialog.h"
#include "ovlib/ovlog.h"
#include "plugin/src/Constants.h"
#include "plugin/src/Json.h"
#include "plugin/src/PathEscaper.h"
#include "plugin/src/PlugIn.h"
#include "plugin/src/RunnableScheduler.h"
#include "plugin/src/Utils.h"

using Pellion::Web::FileDialog;
using Pellion::Web::Json;
using Pellion::Web::OpenFileDialog;
using Pellion::Web::OpenFolderDialog;
using Pellion::Web::PathEscaper;
using Pellion::Web::RunnableScheduler;
using Pellion::Web::SaveFileDialog;
using ScriptCall::answerText;
using ScriptCall::startWithStrings;
using ScriptValues::textOf;

struct ovOrvaneWebPlugin::DialogKind {
  DialogCallback::Type type;
  const char* error;

  static const DialogKind kOpenFile;
  static const DialogKind kOpenFolder;
  static const DialogKind kSaveFile;
};

const ovOrvaneWebPlugin::DialogKind ovOrvaneWebPlugin::DialogKind::kOpenFile = {
    DialogCallback::eOpenFile, Pellion::Web::kErrorUnexpectedFileDialog};
const ovOrvaneWebPlugin::DialogKind ovOrvaneWebPlugin::DialogKind::kOpenFolder = {
    DialogCallback::eOpenFolder, Pellion::Web::kErrorUnexpectedFolderDialog};
const ovOrvaneWebPlugin::DialogKind ovOrvaneWebPlugin::DialogKind::kSaveFile = {
    DialogCallback::eSaveFile, Pellion::Web::kErrorUnexpectedSaveDialog};

namespace {

bool answerNullText(NPVariant* result) {
  OW_CharPtrToNPStringVariant(nullptr, result);
  return true;
}

bool answerAlreadyOpen(NPVariant* result) {
  return answerText(Json::createError(Pellion::Web::kErrorDialogAlreadyOpen), result);
}

bool refuseArguments(const char* method) {
  ov_err("%s() - invalid arguments", method);
  return false;
}

}  // namespace

bool ovOrvaneWebPlugin::isDialogOpen() const {
  return Pellion::Web::Utils::isSaveDialogOpen(nullptr) || *_openDialogs > 0;
}

std::unique_ptr<FileDialog> ovOrvaneWebPlugin::prepareDialog(const DialogKind& kind,
                                                             const DialogMaker& make) {
  const std::weak_ptr<const void> life = _life;
  std::unique_ptr<FileDialog> dialog = make();
  if (life.expired()) {
    return nullptr;
  }
  dialog->init(_pluginImpl->getHostBrowser());
  if (kind.type == DialogCallback::eSaveFile) {
    kLastDialogOpener = this;
  }
  return dialog;
}

std::vector<std::string> ovOrvaneWebPlugin::showDialog(const DialogKind& kind,
                                                       const DialogMaker& make) {
  const std::weak_ptr<const void> life = _life;
  try {
    const std::unique_ptr<FileDialog> dialog = prepareDialog(kind, make);
    if (!dialog) {
      return {};
    }
    const OpenDialogMark mark(_openDialogs);
    std::vector<std::string> paths = dialog->show();
    if (life.expired()) {
      return {};
    }
    if (kind.type != DialogCallback::eOpenFile && !paths.empty()) {
      _pluginImpl->setLastSelectedPath(paths.front());
    }
    return paths;
  } catch (const std::exception& e) {
    ov_err("%s: %s", kind.error, e.what());
    return {};
  }
}

void ovOrvaneWebPlugin::scheduleDialog(const DialogKind& kind, const DialogMaker& make,
                                       const NPVariant& callback, NPVariant* result) {
  try {
    std::unique_ptr<FileDialog> dialog = prepareDialog(kind, make);
    if (dialog) {
      auto dialogCallback = std::make_unique<DialogCallback>(
          _instance, _owner, NPVARIANT_TO_OBJECT(callback), kind.type, _openDialogs);
      RunnableScheduler::scheduleRunnable(_oneShotManager.get(), dialog.release(),
                                          dialogCallback.release());
    }
    NULL_TO_NPVARIANT(*result);
  } catch (const std::exception& e) {
    answerText(Json::createErrorAndLog(e, kind.error), result);
  }
}

bool ovOrvaneWebPlugin::runOpenFileDialog(const NPVariant* args, uint32_t argCount,
                                          NPVariant* result) {
  ScriptCall::log("runOpenFileDialog", argCount);
  if (isDialogOpen()) {
    return answerNullText(result);
  }
  if (argCount != 2 || !npvariantIsBoolean(args[0]) || !npvariantIsBoolean(args[1])) {
    return false;
  }
  const auto paths = showDialog(DialogKind::kOpenFile, [&] {
    return std::make_unique<OpenFileDialog>(getBrowserWindow(), "", npvariantToBoolean(args[0]),
                                            npvariantToBoolean(args[1]), "");
  });
  return answerText(PathEscaper::toColonSeparatedStr(paths), result);
}

bool ovOrvaneWebPlugin::runOpenFolderDialog(const NPVariant* args, uint32_t argCount,
                                            NPVariant* result) {
  ScriptCall::log("runOpenFolderDialog", argCount);
  if (isDialogOpen()) {
    return answerNullText(result);
  }
  if (argCount != 1 || !npvariantIsBoolean(args[0])) {
    return false;
  }
  const auto paths = showDialog(DialogKind::kOpenFolder, [&] {
    return std::make_unique<OpenFolderDialog>(getBrowserWindow(), "", npvariantToBoolean(args[0]));
  });
  return answerText(PathEscaper::toColonSeparatedStr(paths), result);
}

bool ovOrvaneWebPlugin::runSaveFileDialog(const NPVariant* args, uint32_t argCount,
                                          NPVariant* result) {
  ScriptCall::log("runSaveFileDialog", argCount);
  if (isDialogOpen()) {
    return answerNullText(result);
  }
  if (argCount != 1 || !NPVARIANT_IS_STRING(args[0])) {
    return false;
  }
  const auto paths = showDialog(DialogKind::kSaveFile, [&] {
    return std::make_unique<SaveFileDialog>(getBrowserWindow(), "", textOf(args[0]), "");
  });
  return answerText(paths.empty() ? "" : paths.front(), result);
}

bool ovOrvaneWebPlugin::runOpenFileDialogAsync(const NPVariant* args, uint32_t argCount,
                                               NPVariant* result) {
  ScriptCall::log("runOpenFileDialogAsync", argCount);
  if (isDialogOpen()) {
    return answerAlreadyOpen(result);
  }
  if (argCount != 4 || !NPVARIANT_IS_STRING(args[0]) || !npvariantIsBoolean(args[1]) ||
      !NPVARIANT_IS_STRING(args[2]) || !NPVARIANT_IS_OBJECT(args[3])) {
    return refuseArguments("runOpenFileDialogAsync");
  }
  // Deliberate: folders can never be picked through this method.
  const bool allowDirectories = false;
  const auto make = [&] {
    return std::make_unique<OpenFileDialog>(getBrowserWindow(), textOf(args[0]), allowDirectories,
                                            npvariantToBoolean(args[1]), textOf(args[2]));
  };
  scheduleDialog(DialogKind::kOpenFile, make, args[3], result);
  return true;
}

bool ovOrvaneWebPlugin::runOpenFolderDialogAsync(const NPVariant* args, uint32_t argCount,
                                                 NPVariant* result) {
  ScriptCall::log("runOpenFolderDialogAsync", argCount);
  if (isDialogOpen()) {
    return answerAlreadyOpen(result);
  }
  if (argCount != 3 || !NPVARIANT_IS_STRING(args[0]) || !npvariantIsBoolean(args[1]) ||
      !NPVARIANT_IS_OBJECT(args[2])) {
    return refuseArguments("runOpenFolderDialogAsync");
  }
  const auto make = [&] {
    return std::make_unique<OpenFolderDialog>(getBrowserWindow(), textOf(args[0]),
                                              npvariantToBoolean(args[1]));
  };
  scheduleDialog(DialogKind::kOpenFolder, make, args[2], result);
  return true;
}

bool ovOrvaneWebPlugin::runSaveFileDialogAsync(const NPVariant* args, uint32_t argCount,
                                               NPVariant* result) {
  ScriptCall::log("runSaveFileDialogAsync", argCount);
  if (isDialogOpen()) {
    return answerAlreadyOpen(result);
  }
  if (argCount != 4 || !startWithStrings(args, argCount, 3) || !NPVARIANT_IS_OBJECT(args[3])) {
    return refuseArguments("runSaveFileDialogAsync");
  }
  const auto make = [&] {
    return std::make_unique<SaveFileDialog>(getBrowserWindow(), textOf(args[0]), textOf(args[1]),
                                            textOf(args[2]));
  };
  scheduleDialog(DialogKind::kSaveFile, make, args[3], result);
  return true;
}
