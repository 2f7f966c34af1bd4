// A window from which one list of URIs can be dragged, as from a file manager. Prints "ready", and
// after each drag "accepted" or "refused"; ends when its standard input does. Its title, "Drag
// source", is "Drop welcome" while the window below would take the drop. With --silent it answers
// browsers, and never who asks for an answer in the property ORVANE_WEB_DRAG.
// Usage: test_drag_source [--silent] URI...
#include <glib-unix.h>
#include <gtk/gtk.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

// clang-format off
// After the others, whose names its macros would replace.
#include <gdk/gdkx.h>
// clang-format on

static bool failed = false;
static GdkDragContext* drag = nullptr;

static gboolean updateTitle(gpointer window) {
  const bool welcome = drag != nullptr && gdk_drag_context_get_selected_action(drag) != 0;
  gtk_window_set_title(GTK_WINDOW(window), welcome ? "Drop welcome" : "Drag source");
  return TRUE;
}

static void onBegin(GtkWidget*, GdkDragContext* context, gpointer) {
  drag = context;
}

static void onDataGet(GtkWidget*, GdkDragContext*, GtkSelectionData* data, guint, guint,
                      gpointer uris) {
  gtk_selection_data_set_uris(data, static_cast<gchar**>(uris));
}

static gboolean onFailed(GtkWidget*, GdkDragContext*, GtkDragResult, gpointer) {
  failed = true;
  return TRUE;
}

static void onEnd(GtkWidget* window, GdkDragContext*, gpointer) {
  drag = nullptr;
  updateTitle(window);
  puts(failed ? "refused" : "accepted");
  fflush(stdout);
  failed = false;
}

static GdkFilterReturn beSilent(GdkXEvent* event, GdkEvent*, gpointer) {
  const auto* message = static_cast<const XEvent*>(event);
  const bool unanswered =
      message->type == SelectionRequest &&
      message->xselectionrequest.property == gdk_x11_get_xatom_by_name("ORVANE_WEB_DRAG");
  return unanswered ? GDK_FILTER_REMOVE : GDK_FILTER_CONTINUE;
}

static gboolean quit(gint, GIOCondition, gpointer) {
  gtk_main_quit();
  return FALSE;
}

int main(int argc, char** argv) {
  gtk_init(&argc, &argv);
  if (argc > 1 && strcmp(argv[1], "--silent") == 0) {
    gdk_window_add_filter(nullptr, beSilent, nullptr);
    ++argv;
  }
  GtkWidget* window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  updateTitle(window);
  gtk_window_set_default_size(GTK_WINDOW(window), 200, 200);
  GtkTargetEntry target = {const_cast<gchar*>("text/uri-list"), 0, 0};
  gtk_drag_source_set(window, GDK_BUTTON1_MASK, &target, 1, GDK_ACTION_COPY);
  g_signal_connect(window, "drag-begin", G_CALLBACK(onBegin), nullptr);
  g_signal_connect(window, "drag-data-get", G_CALLBACK(onDataGet), argv + 1);
  g_signal_connect(window, "drag-failed", G_CALLBACK(onFailed), nullptr);
  g_signal_connect(window, "drag-end", G_CALLBACK(onEnd), nullptr);
  g_timeout_add(5, updateTitle, window);
  gtk_widget_show_all(window);
  gtk_window_move(GTK_WINDOW(window), 50, 100);
  while (gtk_events_pending()) {
    gtk_main_iteration();
  }
  puts("ready");
  fflush(stdout);
  g_unix_fd_add(STDIN_FILENO, static_cast<GIOCondition>(G_IO_HUP | G_IO_IN), quit, nullptr);
  gtk_main();
  return 0;
}
