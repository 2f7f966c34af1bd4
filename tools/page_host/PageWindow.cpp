#include "tools/page_host/PageWindow.h"

#include <gdk/gdkx.h>

#include <algorithm>

namespace page_host {
namespace {

const char kLook[] = R"(
style "page" {
  bg[NORMAL] = "#f3f5f8"
  fg[NORMAL] = "#1f2937"
  font_name = "Sans 10"
}
style "heading" {
  bg[NORMAL] = "#1e3a5f"
}
style "line" {
  bg[NORMAL] = "#c3ccd8"
}
style "surface" {
  bg[NORMAL] = "#ffffff"
}
style "bar" {
  bg[NORMAL] = "#dfe5ec"
  bg[PRELIGHT] = "#2f7de1"
  bg[SELECTED] = "#2f7de1"
  fg[NORMAL] = "#1f2937"
  fg[PRELIGHT] = "#ffffff"
  xthickness = 1
  ythickness = 1
}
style "scrollbar" {
  GtkScrollbar::has-backward-stepper = 0
  GtkScrollbar::has-forward-stepper = 0
  GtkRange::slider-width = 10
  GtkRange::trough-border = 0
  bg[NORMAL] = "#b7c2d0"
  bg[PRELIGHT] = "#9aa8ba"
  bg[ACTIVE] = "#eef1f5"
  xthickness = 0
  ythickness = 0
}
style "output" {
  base[NORMAL] = "#ffffff"
  text[NORMAL] = "#1f2937"
  font_name = "Monospace 9"
}
widget "orvane-page*" style "page"
widget "*.orvane-heading" style "heading"
widget "*.orvane-line" style "line"
widget "*.orvane-surface" style "surface"
widget "*.orvane-bar" style "bar"
widget "*.orvane-output" style "output"
widget "*.GtkVScrollbar" style "scrollbar"
)";

constexpr int kMargin = 12;
constexpr int kMaxOutputLines = 5000;
constexpr long kMaxLineCharacters = 4000;

GtkWidget* named(GtkWidget* widget, const char* name) {
  gtk_widget_set_name(widget, name);
  return widget;
}

// A one-pixel line around `child`.
GtkWidget* framed(GtkWidget* child, const char* surface) {
  GtkWidget* inside = named(gtk_event_box_new(), surface);
  gtk_container_add(GTK_CONTAINER(inside), child);
  gtk_container_set_border_width(GTK_CONTAINER(inside), 1);
  GtkWidget* line = named(gtk_event_box_new(), "orvane-line");
  gtk_container_add(GTK_CONTAINER(line), inside);
  return line;
}

// The text in a span with these attributes.
void setMarkup(GtkWidget* label, const std::string& attributes, const std::string& text) {
  char* escaped = g_markup_escape_text(text.c_str(), -1);
  const std::string markup = "<span " + attributes + ">" + escaped + "</span>";
  gtk_label_set_markup(GTK_LABEL(label), markup.c_str());
  g_free(escaped);
}

// Labels and text buffers take valid UTF-8 only.
std::string valid(const std::string& text) {
  char* copy = g_utf8_make_valid(text.data(), static_cast<gssize>(text.size()));
  std::string result = copy;
  g_free(copy);
  return result;
}

// Laying out a line takes seconds from some 100,000 characters on.
std::string shortened(const std::string& line) {
  const long excess = g_utf8_strlen(line.c_str(), -1) - kMaxLineCharacters;
  if (excess <= 0) {
    return line;
  }
  const char* end = g_utf8_offset_to_pointer(line.c_str(), kMaxLineCharacters);
  return std::string(line.c_str(), end) + " ... (" + std::to_string(excess) + " characters more)";
}

}  // namespace

PageWindow::PageWindow()
    : _window(gtk_window_new(GTK_WINDOW_TOPLEVEL)),
      _areaBox(gtk_vbox_new(FALSE, kMargin)),
      _progressBox(gtk_vbox_new(FALSE, 6)) {
  gtk_rc_parse_string(kLook);
  named(_window, "orvane-page");
  gtk_window_set_default_size(GTK_WINDOW(_window), 560, 560);

  GtkWidget* content = gtk_vbox_new(FALSE, kMargin);
  gtk_container_set_border_width(GTK_CONTAINER(content), kMargin);
  gtk_box_pack_start(GTK_BOX(content), _areaBox, FALSE, FALSE, 0);
  gtk_box_pack_start(GTK_BOX(content), _progressBox, FALSE, FALSE, 0);
  gtk_box_pack_start(GTK_BOX(content), makeOutput(), TRUE, TRUE, 0);
  GtkWidget* all = gtk_vbox_new(FALSE, 0);
  gtk_box_pack_start(GTK_BOX(all), makeHeading(), FALSE, FALSE, 0);
  gtk_box_pack_start(GTK_BOX(all), content, TRUE, TRUE, 0);
  gtk_container_add(GTK_CONTAINER(_window), all);
  gtk_widget_show_all(_window);
}

PageWindow::~PageWindow() {
  if (_scrollStep != 0) {
    g_source_remove(_scrollStep);
  }
  gtk_widget_destroy(_window);
}

GtkWidget* PageWindow::makeHeading() {
  _title = gtk_label_new(nullptr);
  gtk_label_set_ellipsize(GTK_LABEL(_title), PANGO_ELLIPSIZE_END);
  gtk_misc_set_alignment(GTK_MISC(_title), 0, 0.5);
  _status = gtk_label_new(nullptr);
  GtkWidget* row = gtk_hbox_new(FALSE, kMargin);
  gtk_container_set_border_width(GTK_CONTAINER(row), kMargin);
  gtk_box_pack_start(GTK_BOX(row), _title, TRUE, TRUE, 0);
  gtk_box_pack_end(GTK_BOX(row), _status, FALSE, FALSE, 0);
  GtkWidget* heading = named(gtk_event_box_new(), "orvane-heading");
  gtk_container_add(GTK_CONTAINER(heading), row);
  return heading;
}

GtkWidget* PageWindow::makeOutput() {
  _output = named(gtk_text_view_new(), "orvane-output");
  gtk_text_view_set_editable(GTK_TEXT_VIEW(_output), FALSE);
  gtk_text_view_set_cursor_visible(GTK_TEXT_VIEW(_output), FALSE);
  gtk_text_view_set_wrap_mode(GTK_TEXT_VIEW(_output), GTK_WRAP_WORD_CHAR);
  gtk_text_view_set_left_margin(GTK_TEXT_VIEW(_output), 8);
  gtk_text_view_set_right_margin(GTK_TEXT_VIEW(_output), 8);
  gtk_text_view_set_pixels_below_lines(GTK_TEXT_VIEW(_output), 2);
  GtkTextBuffer* buffer = gtk_text_view_get_buffer(GTK_TEXT_VIEW(_output));
  gtk_text_buffer_create_tag(buffer, "log", nullptr);
  gtk_text_buffer_create_tag(buffer, "warning", "foreground", "#9a6700", nullptr);
  gtk_text_buffer_create_tag(buffer, "error", "foreground", "#b42318", nullptr);
  GtkTextIter end;
  gtk_text_buffer_get_end_iter(buffer, &end);
  gtk_text_buffer_create_mark(buffer, "end", &end, FALSE);
  GtkWidget* scroller = gtk_scrolled_window_new(nullptr, nullptr);
  gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(scroller), GTK_POLICY_AUTOMATIC,
                                 GTK_POLICY_AUTOMATIC);
  gtk_widget_set_size_request(scroller, -1, 120);
  gtk_container_add(GTK_CONTAINER(scroller), _output);
  return framed(scroller, "orvane-surface");
}

void PageWindow::setTitle(const std::string& title) {
  setMarkup(_title, "size=\"large\" weight=\"bold\" foreground=\"#ffffff\"", valid(title));
  gtk_window_set_title(GTK_WINDOW(_window), (valid(title) + " - Orvane Page Host").c_str());
}

void PageWindow::setStatus(const std::string& text) {
  setMarkup(_status, "foreground=\"#cfe0f5\"", valid(text));
}

unsigned long PageWindow::addArea(const std::string& id, int width, int height) {
  GtkWidget* socket = npapi_host::makePluginSocket(width, height);
  GtkWidget* frame = framed(socket, "orvane-surface");
  GtkWidget* centred = gtk_alignment_new(0.5, 0, 0, 0);
  gtk_container_add(GTK_CONTAINER(centred), frame);
  gtk_box_pack_start(GTK_BOX(_areaBox), centred, FALSE, FALSE, 0);
  gtk_widget_show_all(centred);
  _areas[id] = centred;
  return gtk_socket_get_id(GTK_SOCKET(socket));
}

void PageWindow::removeArea(const std::string& id) {
  const auto it = _areas.find(id);
  if (it != _areas.end()) {
    gtk_widget_destroy(it->second);
    _areas.erase(it);
  }
}

bool PageWindow::carryOut(const npapi_host::Fields& request) {
  if (request[0] == "print" && request.size() == 3) {
    print(request[1], request[2]);
    return true;
  }
  if (request[0] == "progress" && request.size() == 4) {
    setProgress(request[1], g_ascii_strtod(request[2].c_str(), nullptr), request[3]);
    return true;
  }
  return false;
}

void PageWindow::print(const std::string& kind, const std::string& text) {
  GtkTextBuffer* buffer = gtk_text_view_get_buffer(GTK_TEXT_VIEW(_output));
  GtkTextIter end;
  gtk_text_buffer_get_end_iter(buffer, &end);
  const std::string line = shortened(valid(text));
  if (gtk_text_buffer_get_char_count(buffer) > 0) {
    gtk_text_buffer_insert(buffer, &end, "\n", 1);
  }
  gtk_text_buffer_insert_with_tags_by_name(buffer, &end, line.c_str(), -1, kind.c_str(), nullptr);
  const int excess = gtk_text_buffer_get_line_count(buffer) - kMaxOutputLines;
  if (excess > 0) {
    GtkTextIter first;
    GtkTextIter kept;
    gtk_text_buffer_get_start_iter(buffer, &first);
    gtk_text_buffer_get_iter_at_line(buffer, &kept, excess);
    gtk_text_buffer_delete(buffer, &first, &kept);
  }
  showEnd();
}

// Once the widgets have got their sizes.
void PageWindow::showEnd() {
  if (_scrollStep == 0) {
    _scrollStep = g_idle_add(scrollToEnd, this);
  }
}

gboolean PageWindow::scrollToEnd(gpointer self) {
  PageWindow* window = static_cast<PageWindow*>(self);
  window->_scrollStep = 0;
  GtkTextView* output = GTK_TEXT_VIEW(window->_output);
  GtkTextMark* end = gtk_text_buffer_get_mark(gtk_text_view_get_buffer(output), "end");
  gtk_text_view_scroll_to_mark(output, end, 0, TRUE, 0, 1);
  return G_SOURCE_REMOVE;
}

void PageWindow::setProgress(const std::string& id, double fraction, const std::string& text) {
  GtkWidget*& bar = _bars[id];
  if (bar == nullptr) {
    bar = named(gtk_progress_bar_new(), "orvane-bar");
    gtk_progress_bar_set_ellipsize(GTK_PROGRESS_BAR(bar), PANGO_ELLIPSIZE_MIDDLE);
    gtk_widget_set_size_request(bar, -1, 22);
    gtk_box_pack_start(GTK_BOX(_progressBox), bar, FALSE, FALSE, 0);
    gtk_widget_show(bar);
    showEnd();
  }
  gtk_progress_bar_set_fraction(GTK_PROGRESS_BAR(bar),
                                fraction > 0 ? std::min(fraction, 1.0) : 0.0);
  gtk_progress_bar_set_text(GTK_PROGRESS_BAR(bar), valid(text).c_str());
}

}  // namespace page_host
