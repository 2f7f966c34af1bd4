#include "tools/web_host/LeaveDialog.h"

#include <utility>

namespace web_host {
namespace {

const guint kAliveMilliseconds = 500;

const char kWhat[] =
    "The site could start Orvane Pellion, the transfer application, show you file dialogs, and "
    "have "
    "the files moved that you choose there or drop.";

// The response of each button is its Answer.
gint responseOf(LeaveDialog::Answer answer) {
  return static_cast<gint>(answer);
}

void addButton(GtkWidget* dialog, const char* label, LeaveDialog::Answer answer) {
  gtk_dialog_add_button(GTK_DIALOG(dialog), label, responseOf(answer));
}

// Else the whole question is shown as selected, being all that takes the focus at first.
void setUnselectable(GtkWidget* label, gpointer) {
  gtk_label_set_selectable(GTK_LABEL(label), FALSE);
}

}  // namespace

LeaveDialog::LeaveDialog(const std::string& origin, bool canKeep,
                         std::function<void(Answer)> answered)
    : _dialog(gtk_message_dialog_new(nullptr, GTK_DIALOG_MODAL, GTK_MESSAGE_QUESTION,
                                     GTK_BUTTONS_NONE, "May %s use Orvane Web?", origin.c_str())),
      _answered(std::move(answered)) {
  gtk_message_dialog_format_secondary_text(GTK_MESSAGE_DIALOG(_dialog), "%s", kWhat);
  gtk_container_foreach(
      GTK_CONTAINER(gtk_message_dialog_get_message_area(GTK_MESSAGE_DIALOG(_dialog))),
      setUnselectable, nullptr);
  gtk_window_set_title(GTK_WINDOW(_dialog), "Orvane Web");
  gtk_window_set_position(GTK_WINDOW(_dialog), GTK_WIN_POS_CENTER);
  gtk_window_set_skip_taskbar_hint(GTK_WINDOW(_dialog), FALSE);
  if (canKeep) {
    addButton(_dialog, "_Never", Answer::kNever);
  }
  addButton(_dialog, "_This time", Answer::kThisTime);
  if (canKeep) {
    addButton(_dialog, "_Always", Answer::kAlways);
  }
  setSensitive(false);
  g_signal_connect(_dialog, "response", G_CALLBACK(onResponse), this);
  _timer = g_timeout_add(kAliveMilliseconds, onShownLongEnough, this);
  gtk_widget_show(_dialog);
  gtk_window_present(GTK_WINDOW(_dialog));
}

LeaveDialog::~LeaveDialog() {
  close();
}

void LeaveDialog::close() {
  if (_timer != 0) {
    g_source_remove(_timer);
    _timer = 0;
  }
  if (_dialog != nullptr) {
    gtk_widget_destroy(_dialog);
    _dialog = nullptr;
  }
}

void LeaveDialog::setSensitive(bool sensitive) {
  for (const Answer answer : {Answer::kAlways, Answer::kThisTime, Answer::kNever}) {
    gtk_dialog_set_response_sensitive(GTK_DIALOG(_dialog), responseOf(answer), sensitive);
  }
}

gboolean LeaveDialog::onShownLongEnough(gpointer data) {
  LeaveDialog* self = static_cast<LeaveDialog*>(data);
  self->_timer = 0;
  self->setSensitive(true);
  return G_SOURCE_REMOVE;
}

// Escape and the window's own button come as negative responses.
void LeaveDialog::onResponse(GtkDialog*, gint response, gpointer data) {
  LeaveDialog* self = static_cast<LeaveDialog*>(data);
  const auto answered = self->_answered;
  self->close();
  answered(response >= 0 ? static_cast<Answer>(response) : Answer::kClosed);
}

}  // namespace web_host
