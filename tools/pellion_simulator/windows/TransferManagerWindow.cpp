#include "tools/pellion_simulator/windows/TransferManagerWindow.h"

#include <gio/gio.h>

#include "tools/pellion_simulator/FileIo.h"
#include "tools/pellion_simulator/Log.h"

namespace pellion_simulator {

namespace {

const guint kRefreshMilliseconds = 250;

}  // namespace

TransferManagerWindow::TransferManagerWindow(TransferQueue* queue, Settings* settings)
    : _queue(queue),
      _settings(settings),
      _window(gtk_window_new(GTK_WINDOW_TOPLEVEL)),
      _list(gtk_vbox_new(FALSE, 0)),
      _empty(gtk_label_new(nullptr)),
      _summary(gtk_label_new(nullptr)) {
  build();
  g_signal_connect(_window, "delete-event", G_CALLBACK(gtk_widget_hide_on_delete), nullptr);
}

TransferManagerWindow::~TransferManagerWindow() {
  if (_timer != 0) {
    g_source_remove(_timer);
  }
  gtk_widget_destroy(_window);
}

void TransferManagerWindow::build() {
  gtk_window_set_title(GTK_WINDOW(_window), "Orvane Pellion \u2014 Transfers");
  gtk_window_set_default_size(GTK_WINDOW(_window), 640, 420);
  gtk_window_set_position(GTK_WINDOW(_window), GTK_WIN_POS_CENTER);

  gtk_label_set_markup(GTK_LABEL(_empty),
                       "<span foreground=\"#707070\">Transfers that web pages start appear "
                       "here.</span>");
  gtk_misc_set_padding(GTK_MISC(_empty), 0, 60);
  gtk_box_pack_start(GTK_BOX(_list), _empty, TRUE, TRUE, 0);

  GtkWidget* scrolled = gtk_scrolled_window_new(nullptr, nullptr);
  gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(scrolled), GTK_POLICY_NEVER,
                                 GTK_POLICY_AUTOMATIC);
  gtk_scrolled_window_set_shadow_type(GTK_SCROLLED_WINDOW(scrolled), GTK_SHADOW_IN);
  gtk_scrolled_window_add_with_viewport(GTK_SCROLLED_WINDOW(scrolled), _list);
  GtkWidget* viewport = gtk_bin_get_child(GTK_BIN(scrolled));
  gtk_viewport_set_shadow_type(GTK_VIEWPORT(viewport), GTK_SHADOW_NONE);
  const GdkColor white = {0, 0xffff, 0xffff, 0xffff};
  gtk_widget_modify_bg(viewport, GTK_STATE_NORMAL, &white);

  GtkWidget* openDownloads = gtk_button_new_with_mnemonic("Open _download folder");
  g_signal_connect(openDownloads, "clicked", G_CALLBACK(onOpenDownloads), this);
  GtkWidget* footer = gtk_hbox_new(FALSE, 12);
  gtk_misc_set_alignment(GTK_MISC(_summary), 0, 0.5);
  gtk_box_pack_start(GTK_BOX(footer), _summary, TRUE, TRUE, 0);
  gtk_box_pack_start(GTK_BOX(footer), openDownloads, FALSE, FALSE, 0);

  GtkWidget* box = gtk_vbox_new(FALSE, 12);
  gtk_container_set_border_width(GTK_CONTAINER(box), 12);
  gtk_box_pack_start(GTK_BOX(box), scrolled, TRUE, TRUE, 0);
  gtk_box_pack_start(GTK_BOX(box), footer, FALSE, FALSE, 0);
  gtk_container_add(GTK_CONTAINER(_window), box);
  gtk_widget_show_all(box);
}

void TransferManagerWindow::show() {
  refresh();
  gtk_window_present(GTK_WINDOW(_window));
  if (_timer == 0) {
    _timer = g_timeout_add(kRefreshMilliseconds, onTick, this);
  }
}

gboolean TransferManagerWindow::onTick(gpointer self) {
  auto* window = static_cast<TransferManagerWindow*>(self);
  if (!gtk_widget_get_visible(window->_window)) {
    window->_timer = 0;
    return G_SOURCE_REMOVE;
  }
  window->refresh();
  return G_SOURCE_CONTINUE;
}

TransferRow* TransferManagerWindow::rowFor(const std::string& id) {
  std::unique_ptr<TransferRow>& row = _rows[id];
  if (!row) {
    row = std::make_unique<TransferRow>(
        id, TransferRow::Steps{[this](const std::string& directory) { openFolder(directory); },
                               [this](const std::string& transfer) { _queue->cancel(transfer); }});
    gtk_box_pack_start(GTK_BOX(_list), row->widget(), FALSE, FALSE, 0);
    gtk_box_reorder_child(GTK_BOX(_list), row->widget(), 0);
    gtk_widget_hide(_empty);
  }
  return row.get();
}

void TransferManagerWindow::refresh() {
  const TransferQueue::Changes changes = _queue->changesSince(_seen);
  _seen = changes.count;
  for (const TransferState& state : changes.transfers) {
    rowFor(state.id)->update(state);
    _statuses[state.id] = state.status;
  }
  removeForgotten();
  updateSummary();
}

// What the queue does not list any more.
void TransferManagerWindow::removeForgotten() {
  const std::set<std::string> listed = _queue->ids();
  for (auto row = _rows.begin(); row != _rows.end() && _rows.size() > listed.size();) {
    if (listed.count(row->first) > 0) {
      ++row;
      continue;
    }
    gtk_widget_destroy(row->second->widget());
    _statuses.erase(row->first);
    row = _rows.erase(row);
  }
}

void TransferManagerWindow::updateSummary() {
  std::map<TransferStatus, int> counts;
  for (const auto& [id, status] : _statuses) {
    ++counts[status];
  }
  std::string text;
  const auto add = [&](TransferStatus status, const char* word) {
    if (counts[status] > 0) {
      text += (text.empty() ? "" : ", ") + std::to_string(counts[status]) + " " + word;
    }
  };
  add(TransferStatus::eRunning, "running");
  add(TransferStatus::eInitiating, "waiting");
  add(TransferStatus::eCompleted, "completed");
  add(TransferStatus::eFailed, "failed");
  add(TransferStatus::eCancelled, "cancelled");
  gtk_label_set_text(GTK_LABEL(_summary), text.c_str());
}

void TransferManagerWindow::onOpenDownloads(GtkButton*, gpointer self) {
  auto* window = static_cast<TransferManagerWindow*>(self);
  window->openFolder(window->_settings->downloadDirectory());
}

void TransferManagerWindow::openFolder(const std::string& directory) {
  GError* error = nullptr;
  gchar* uri = g_filename_to_uri(directory.c_str(), nullptr, nullptr);
  if (uri != nullptr && !g_app_info_launch_default_for_uri(uri, nullptr, &error)) {
    logLine("Cannot open the folder " + directory + ": " + error->message);
    GtkWidget* message =
        gtk_message_dialog_new(GTK_WINDOW(_window), GTK_DIALOG_MODAL, GTK_MESSAGE_ERROR,
                               GTK_BUTTONS_CLOSE, "The folder could not be opened.");
    gchar* name = g_filename_display_name(directory.c_str());
    gtk_message_dialog_format_secondary_text(GTK_MESSAGE_DIALOG(message), "%s: %s", name,
                                             error->message);
    g_free(name);
    g_signal_connect(message, "response", G_CALLBACK(gtk_widget_destroy), nullptr);
    gtk_widget_show(message);
    g_error_free(error);
  }
  g_free(uri);
}

}  // namespace pellion_simulator
