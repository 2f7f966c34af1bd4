#include "tools/pellion_simulator/windows/PreferencesWindow.h"

#include <algorithm>

#include "tools/pellion_simulator/FileIo.h"
#include "tools/pellion_simulator/Log.h"

namespace pellion_simulator {

namespace {

const int64_t kUnit = 1024;  // the spin button counts KiB
const int64_t kLargestUnits = Settings::kLargestRateLimit / kUnit;
const int64_t kUsualLimit = 1024;

GtkWidget* leftLabel(const char* text) {
  GtkWidget* label = gtk_label_new(text);
  gtk_misc_set_alignment(GTK_MISC(label), 0, 0.5);
  return label;
}

}  // namespace

PreferencesWindow::PreferencesWindow(TransferQueue* queue, Settings* settings)
    : _queue(queue),
      _settings(settings),
      _window(gtk_dialog_new_with_buttons(
          "Orvane Pellion \u2014 Preferences", nullptr, GTK_DIALOG_NO_SEPARATOR, GTK_STOCK_CANCEL,
          GTK_RESPONSE_CANCEL, GTK_STOCK_SAVE, GTK_RESPONSE_OK, nullptr)),
      _folder(gtk_file_chooser_button_new("Choose the download folder",
                                          GTK_FILE_CHOOSER_ACTION_SELECT_FOLDER)),
      _limited(gtk_check_button_new_with_mnemonic("_Limit the transfer rate to")),
      _limit(gtk_spin_button_new_with_range(1, static_cast<double>(kLargestUnits), 64)) {
  gtk_container_add(GTK_CONTAINER(gtk_dialog_get_content_area(GTK_DIALOG(_window))), build());
  gtk_dialog_set_default_response(GTK_DIALOG(_window), GTK_RESPONSE_OK);
  gtk_window_set_position(GTK_WINDOW(_window), GTK_WIN_POS_CENTER);
  gtk_window_set_resizable(GTK_WINDOW(_window), FALSE);
  g_signal_connect(_window, "response", G_CALLBACK(onResponse), this);
  g_signal_connect(_window, "delete-event", G_CALLBACK(gtk_widget_hide_on_delete), nullptr);
  g_signal_connect(_limited, "toggled", G_CALLBACK(onLimitToggled), this);
}

PreferencesWindow::~PreferencesWindow() {
  gtk_widget_destroy(_window);
}

GtkWidget* PreferencesWindow::build() {
  GtkWidget* table = gtk_table_new(3, 3, FALSE);
  gtk_container_set_border_width(GTK_CONTAINER(table), 18);
  gtk_table_set_row_spacings(GTK_TABLE(table), 12);
  gtk_table_set_col_spacings(GTK_TABLE(table), 12);
  gtk_widget_set_size_request(_folder, 260, -1);
  gtk_entry_set_width_chars(GTK_ENTRY(_limit), 9);
  const auto fill = static_cast<GtkAttachOptions>(GTK_EXPAND | GTK_FILL);
  const auto put = [&](GtkWidget* child, guint left, guint right, guint row) {
    gtk_table_attach(GTK_TABLE(table), child, left, right, row, row + 1, fill, GTK_FILL, 0, 0);
  };
  put(leftLabel("Downloads go to"), 0, 1, 0);
  put(_folder, 1, 3, 0);
  put(_limited, 0, 1, 1);
  put(_limit, 1, 2, 1);
  put(leftLabel("KiB per second"), 2, 3, 1);
  GtkWidget* note = leftLabel(nullptr);
  gtk_label_set_markup(GTK_LABEL(note),
                       "<small>The limit holds for all transfers together, at once; the folder "
                       "for downloads that start from now on.</small>");
  gtk_label_set_line_wrap(GTK_LABEL(note), TRUE);
  gtk_widget_set_size_request(note, 420, -1);
  put(note, 0, 3, 2);
  gtk_widget_show_all(table);
  return table;
}

void PreferencesWindow::show() {
  const std::string folder = _settings->downloadDirectory();
  const int64_t limit = _settings->rateLimit();
  try {
    // The chooser shows only what exists.
    makeDirectories(folder, 0777);
  } catch (const std::exception& error) {
    logLine(std::string("Preferences: ") + error.what());
  }
  gtk_file_chooser_set_filename(GTK_FILE_CHOOSER(_folder), folder.c_str());
  gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(_limited), limit > 0);
  const int64_t units = limit > 0 ? std::max<int64_t>(limit / kUnit, 1) : kUsualLimit;
  gtk_spin_button_set_value(GTK_SPIN_BUTTON(_limit), static_cast<double>(units));
  onLimitToggled(nullptr, this);
  _shownLimit = chosenLimit();
  gtk_window_present(GTK_WINDOW(_window));
}

void PreferencesWindow::onLimitToggled(GtkToggleButton*, gpointer self) {
  auto* window = static_cast<PreferencesWindow*>(self);
  gtk_widget_set_sensitive(window->_limit,
                           gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(window->_limited)));
}

void PreferencesWindow::onResponse(GtkDialog*, gint response, gpointer self) {
  auto* window = static_cast<PreferencesWindow*>(self);
  if (response != GTK_RESPONSE_OK || window->save()) {
    gtk_widget_hide(window->_window);
  }
}

int64_t PreferencesWindow::chosenLimit() const {
  const bool limited = gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(_limited));
  const auto units = static_cast<int64_t>(gtk_spin_button_get_value(GTK_SPIN_BUTTON(_limit)));
  return limited ? units * kUnit : 0;
}

bool PreferencesWindow::save() {
  gtk_spin_button_update(GTK_SPIN_BUTTON(_limit));
  gchar* chosen = gtk_file_chooser_get_filename(GTK_FILE_CHOOSER(_folder));
  const std::string folder = chosen != nullptr ? chosen : _settings->downloadDirectory();
  g_free(chosen);
  const int64_t limit = chosenLimit();
  try {
    _settings->save(folder, limit == _shownLimit ? std::nullopt : std::make_optional(limit));
  } catch (const std::exception& error) {
    logLine(std::string("Preferences: ") + error.what());
    GtkWidget* message =
        gtk_message_dialog_new(GTK_WINDOW(_window), GTK_DIALOG_MODAL, GTK_MESSAGE_ERROR,
                               GTK_BUTTONS_CLOSE, "The preferences could not be saved.");
    gtk_message_dialog_format_secondary_text(GTK_MESSAGE_DIALOG(message), "%s", error.what());
    g_signal_connect(message, "response", G_CALLBACK(gtk_widget_destroy), nullptr);
    gtk_widget_show(message);
    return false;
  }
  _queue->applyRateLimit();
  return true;
}

}  // namespace pellion_simulator
