// Stands in for a browser: a window that takes files as a page does, and the program that the
// browser starts, with this one's standard input and output. Its own process is the program's
// parent, as a browser's main process is. Usage: test_browser_window TITLE PROGRAM ARGUMENT...
#include <glib-unix.h>
#include <gtk/gtk.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

static void onChildEnded(GPid, gint status, gpointer) {
  // At once: the toolkit forgets the last piece of a list that came in pieces.
  _exit(WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status));
}

static GPid start(char** command) {
  const GPid child = fork();
  if (child == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    execv(command[0], command);
    _exit(127);
  }
  // The pipes are the program's alone.
  close(STDIN_FILENO);
  close(STDOUT_FILENO);
  return child;
}

int main(int argc, char** argv) {
  gtk_init(&argc, &argv);
  GtkWidget* window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  gtk_window_set_title(GTK_WINDOW(window), argv[1]);
  gtk_window_set_default_size(GTK_WINDOW(window), 300, 200);
  GtkTargetEntry target = {const_cast<gchar*>("text/uri-list"), 0, 0};
  gtk_drag_dest_set(window, GTK_DEST_DEFAULT_ALL, &target, 1, GDK_ACTION_COPY);
  gtk_widget_show(window);
  gtk_window_move(GTK_WINDOW(window), 500, 100);
  g_child_watch_add(start(argv + 2), onChildEnded, nullptr);
  gtk_main();
  return 0;
}
