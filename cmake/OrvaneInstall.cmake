# Where `cmake --install` puts things, below the prefix.
include(GNUInstallDirs)

# What browsers call it, whatever the name of the system's own library directory.
set(ORVANE_PLUGIN_DIRECTORY "lib/mozilla/plugins" CACHE STRING "Directory of nporvaneweb.so")

# The application's stand-in bears the application's name. It lies where neither the module nor the
# shell looks, so that it is only started by those who ask for it, and never hides the real one.
set(ORVANE_STAND_IN_DIRECTORY "lib/orvane-web" CACHE STRING "Directory of orvanepellion")

# What Chromium makes of the key in the extension's manifest: the first half of its SHA-256, in letters
# from a to p.
set(ORVANE_CHROMIUM_ID "lanblhdfihbpknndkbepkghbjaiddejj")
