#include "tools/pellion_simulator/windows/TransferRow.h"

#include "tools/pellion_simulator/FileIo.h"

namespace pellion_simulator {

namespace {

std::string takeText(gchar* text) {
  std::string result = text;
  g_free(text);
  return result;
}

std::string sizeText(int64_t bytes) {
  return takeText(g_format_size(static_cast<guint64>(bytes)));
}

std::string displayName(const std::string& path) {
  gchar* name = g_path_get_basename(path.c_str());
  std::string text = takeText(g_filename_display_name(name));
  g_free(name);
  return text;
}

std::string titleOf(const TransferState& state) {
  const TransferFile& first = state.files[0];
  const bool useSource = first.path.empty() || state.direction == Direction::eSend;
  const std::string name = displayName(useSource ? first.source : first.path);
  const size_t others = state.files.size() - 1;
  return others == 0 ? name : name + " and " + std::to_string(others) + " more";
}

std::string amountText(const TransferState& state) {
  const int64_t expected = state.expected();
  return expected > 0 ? sizeText(state.written()) + " of " + sizeText(expected)
                      : sizeText(state.written());
}

std::string durationText(int64_t seconds) {
  return seconds < 120 ? std::to_string(seconds) + " s" : std::to_string(seconds / 60) + " min";
}

std::string runningText(const TransferState& state) {
  std::string text = amountText(state);
  if (state.rate > 0) {
    text += " \u2014 " + sizeText(state.rate) + "/s";
    const int64_t seconds = (state.expected() - state.written()) / state.rate;
    text += seconds > 0 ? " \u2014 " + durationText(seconds) + " left" : "";
  }
  return text;
}

std::string detailOf(const TransferState& state) {
  switch (state.status) {
    case TransferStatus::eInitiating:
      return "Waiting";
    case TransferStatus::eRunning:
      return runningText(state);
    case TransferStatus::eCompleted:
      return "Completed \u2014 " + sizeText(state.written());
    case TransferStatus::eFailed:
      return "Failed: " + state.error;
    case TransferStatus::eCancelled:
      return "Cancelled after " + amountText(state);
  }
  return "";
}

GtkWidget* lineLabel(PangoEllipsizeMode mode) {
  GtkWidget* label = gtk_label_new(nullptr);
  gtk_misc_set_alignment(GTK_MISC(label), 0, 0.5);
  gtk_label_set_ellipsize(GTK_LABEL(label), mode);
  return label;
}

GtkWidget* buttonWithIcon(const char* text, const char* stock) {
  GtkWidget* button = gtk_button_new_with_label(text);
  gtk_button_set_image(GTK_BUTTON(button), gtk_image_new_from_stock(stock, GTK_ICON_SIZE_BUTTON));
  return button;
}

// `open` and `close`: the markup around the text.
void setMarkup(GtkWidget* label, const char* open, const std::string& text, const char* close) {
  gchar* valid = g_utf8_make_valid(text.c_str(), -1);
  gchar* escaped = g_markup_escape_text(valid, -1);
  gtk_label_set_markup(GTK_LABEL(label), (std::string(open) + escaped + close).c_str());
  gtk_widget_set_tooltip_text(label, valid);
  g_free(escaped);
  g_free(valid);
}

GtkWidget* centred(GtkWidget* child) {
  GtkWidget* alignment = gtk_alignment_new(0.5, 0.5, 0, 0);
  gtk_container_add(GTK_CONTAINER(alignment), child);
  return alignment;
}

}  // namespace

TransferRow::TransferRow(const std::string& id, Steps steps)
    : _id(id),
      _steps(std::move(steps)),
      _row(gtk_vbox_new(FALSE, 0)),
      _image(gtk_image_new()),
      _name(lineLabel(PANGO_ELLIPSIZE_MIDDLE)),
      _bar(gtk_progress_bar_new()),
      _detail(lineLabel(PANGO_ELLIPSIZE_END)),
      _openButton(buttonWithIcon("Open folder", GTK_STOCK_OPEN)),
      _cancelButton(buttonWithIcon("Cancel", GTK_STOCK_CANCEL)) {
  GtkWidget* middle = gtk_vbox_new(FALSE, 4);
  gtk_widget_set_size_request(_bar, -1, 14);
  gtk_box_pack_start(GTK_BOX(middle), _name, FALSE, FALSE, 0);
  gtk_box_pack_start(GTK_BOX(middle), _bar, FALSE, FALSE, 0);
  gtk_box_pack_start(GTK_BOX(middle), _detail, FALSE, FALSE, 0);
  GtkWidget* content = gtk_hbox_new(FALSE, 12);
  gtk_container_set_border_width(GTK_CONTAINER(content), 10);
  gtk_box_pack_start(GTK_BOX(content), _image, FALSE, FALSE, 0);
  gtk_box_pack_start(GTK_BOX(content), middle, TRUE, TRUE, 0);
  gtk_box_pack_start(GTK_BOX(content), centred(_cancelButton), FALSE, FALSE, 0);
  gtk_box_pack_start(GTK_BOX(content), centred(_openButton), FALSE, FALSE, 0);
  gtk_box_pack_start(GTK_BOX(_row), content, FALSE, FALSE, 0);
  gtk_box_pack_start(GTK_BOX(_row), gtk_hseparator_new(), FALSE, FALSE, 0);
  g_signal_connect(_openButton, "clicked", G_CALLBACK(onOpenFolder), this);
  g_signal_connect(_cancelButton, "clicked", G_CALLBACK(onCancel), this);
  gtk_widget_show_all(_row);
}

void TransferRow::update(const TransferState& state) {
  gtk_image_set_from_stock(
      GTK_IMAGE(_image), state.direction == Direction::eSend ? GTK_STOCK_GO_UP : GTK_STOCK_GO_DOWN,
      GTK_ICON_SIZE_DND);
  setMarkup(_name, "<b>", titleOf(state), "</b>");
  const bool failed = state.status == TransferStatus::eFailed;
  setMarkup(_detail, failed ? "<small><span foreground=\"#b00020\">" : "<small>", detailOf(state),
            failed ? "</span></small>" : "</small>");
  gtk_progress_bar_set_fraction(GTK_PROGRESS_BAR(_bar), state.percentage() / 100.0);
  const std::string& path = state.files[0].path;
  _folder = path[0] == '/' ? directoryOf(path) : "";
  gtk_widget_set_sensitive(_openButton, !_folder.empty());
  gtk_widget_set_visible(_cancelButton, !state.isFinished());
}

void TransferRow::onOpenFolder(GtkButton*, gpointer self) {
  const auto* row = static_cast<TransferRow*>(self);
  row->_steps.openFolder(row->_folder);
}

void TransferRow::onCancel(GtkButton*, gpointer self) {
  const auto* row = static_cast<TransferRow*>(self);
  row->_steps.cancel(row->_id);
}

}  // namespace pellion_simulator
