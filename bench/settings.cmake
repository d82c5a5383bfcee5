# The settings store against what a Linux program would otherwise keep its
# settings in: QSettings (Qt 5, INI files), KConfig (KF5) and GLib's key
# files, with GIO's file monitor as the peer for noticing another process's
# change.
find_package(Qt5 REQUIRED COMPONENTS Core)
find_package(KF5Config REQUIRED)
tq_bench_pkg_config(GIO gio-2.0)
tq_add_benchmark(settings Qt5::Core KF5::ConfigCore PkgConfig::GIO)
# Qt's `slots` and `signals` keyword macros would rewrite the library's own
# members of those names.
target_compile_definitions(bench_settings PRIVATE QT_NO_KEYWORDS)
