// A window of another process with a socket in it, as a browser's window has one for a plugin.
// Prints the socket's window id, and then "accepted" or "refused" for each drop that the plug
// finished (GTK passes the drag on to the plug and tells its source of a success in both cases).
// Ends when its standard input does. Usage: test_socket_window [title]
#include <gdk/gdkx.h>
#include <glib-unix.h>
#include <gtk/gtk.h>
#include <unistd.h>

#include <cstdio>

static GdkFilterReturn reportDrop(GdkXEvent* event, GdkEvent*, gpointer) {
  const auto* message = static_cast<const XEvent*>(event);
  if (message->type == ClientMessage &&
      message->xclient.message_type == gdk_x11_get_xatom_by_name("XdndFinished")) {
    puts((message->xclient.data.l[1] & 1) != 0 ? "accepted" : "refused");
    fflush(stdout);
  }
  return GDK_FILTER_CONTINUE;
}

static gboolean quit(gint, GIOCondition, gpointer) {
  gtk_main_quit();
  return FALSE;
}

int main(int argc, char** argv) {
  gtk_init(&argc, &argv);
  GtkWidget* window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  gtk_window_set_title(GTK_WINDOW(window), argc > 1 ? argv[1] : "Browser");
  gtk_window_set_default_size(GTK_WINDOW(window), 300, 200);
  GtkWidget* socket = gtk_socket_new();
  // The socket outlives its plug, as in browsers.
  g_signal_connect(socket, "plug-removed", G_CALLBACK(gtk_true), nullptr);
  gtk_container_add(GTK_CONTAINER(window), socket);
  gdk_window_add_filter(nullptr, reportDrop, nullptr);
  gtk_widget_show_all(window);
  gtk_window_move(GTK_WINDOW(window), 500, 100);
  printf("%lu\n", static_cast<unsigned long>(gtk_socket_get_id(GTK_SOCKET(socket))));
  fflush(stdout);
  g_unix_fd_add(STDIN_FILENO, static_cast<GIOCondition>(G_IO_HUP | G_IO_IN), quit, nullptr);
  gtk_main();
  return 0;
}
