// A window from which one list of URIs can be dragged, as from a file manager. Prints "ready", and
// after each drag "accepted" or "refused"; ends when its standard input does. Usage:
// test_drag_source URI...
#include <gtk/gtk.h>
#include <unistd.h>

#include <cstdio>

static bool failed = false;

static void onDataGet(GtkWidget*, GdkDragContext*, GtkSelectionData* data, guint, guint,
                      gpointer uris) {
  gtk_selection_data_set_uris(data, static_cast<gchar**>(uris));
}

static gboolean onFailed(GtkWidget*, GdkDragContext*, GtkDragResult, gpointer) {
  failed = true;
  return TRUE;
}

static void onEnd(GtkWidget*, GdkDragContext*, gpointer) {
  puts(failed ? "refused" : "accepted");
  fflush(stdout);
  failed = false;
}

static gboolean quit(GIOChannel*, GIOCondition, gpointer) {
  gtk_main_quit();
  return FALSE;
}

int main(int argc, char** argv) {
  gtk_init(&argc, &argv);
  GtkWidget* window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  gtk_window_set_title(GTK_WINDOW(window), "Drag source");
  gtk_window_set_default_size(GTK_WINDOW(window), 200, 200);
  GtkTargetEntry target = {const_cast<gchar*>("text/uri-list"), 0, 0};
  gtk_drag_source_set(window, GDK_BUTTON1_MASK, &target, 1, GDK_ACTION_COPY);
  g_signal_connect(window, "drag-data-get", G_CALLBACK(onDataGet), argv + 1);
  g_signal_connect(window, "drag-failed", G_CALLBACK(onFailed), nullptr);
  g_signal_connect(window, "drag-end", G_CALLBACK(onEnd), nullptr);
  gtk_widget_show_all(window);
  gtk_window_move(GTK_WINDOW(window), 50, 100);
  while (gtk_events_pending()) {
    gtk_main_iteration();
  }
  puts("ready");
  fflush(stdout);
  g_io_add_watch(g_io_channel_unix_new(STDIN_FILENO), static_cast<GIOCondition>(G_IO_HUP | G_IO_IN),
                 quit, nullptr);
  gtk_main();
  return 0;
}
