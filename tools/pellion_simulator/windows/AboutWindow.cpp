#include "tools/pellion_simulator/windows/AboutWindow.h"

#include "tools/pellion_simulator/windows/AppIcon.h"

namespace pellion_simulator {

AboutWindow::AboutWindow() : _window(gtk_about_dialog_new()) {
  GtkAboutDialog* about = GTK_ABOUT_DIALOG(_window);
  gtk_about_dialog_set_program_name(about, "Orvane Pellion");
  gtk_about_dialog_set_version(about, ORVANE_VERSION);
  gtk_about_dialog_set_comments(about,
                                "Stand-in for the transfer application.\n"
                                "It moves the files that web pages ask for,\n"
                                "on behalf of the Orvane Web plugin.");
  gtk_about_dialog_set_copyright(about, "Released under the MIT licence");
  GdkPixbuf* logo = drawAppIcon(96);
  gtk_about_dialog_set_logo(about, logo);
  g_object_unref(logo);
  gtk_window_set_title(GTK_WINDOW(_window), "About Orvane Pellion");
  gtk_window_set_position(GTK_WINDOW(_window), GTK_WIN_POS_CENTER);
  g_signal_connect(_window, "response", G_CALLBACK(gtk_widget_hide), nullptr);
  g_signal_connect(_window, "delete-event", G_CALLBACK(gtk_widget_hide_on_delete), nullptr);
}

AboutWindow::~AboutWindow() {
  gtk_widget_destroy(_window);
}

void AboutWindow::show() {
  gtk_window_present(GTK_WINDOW(_window));
}

}  // namespace pellion_simulator
