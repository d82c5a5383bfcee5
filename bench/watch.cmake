# The folder event stream against GIO's file monitors (a monitor per folder)
# and KDirWatch (KF5 CoreAddons, recursive); reachability against GIO's
# network monitor.
find_package(Qt5 REQUIRED COMPONENTS Core)
find_package(KF5CoreAddons REQUIRED)
tq_bench_pkg_config(GIO gio-2.0)
tq_add_benchmark(watch Qt5::Core KF5::CoreAddons PkgConfig::GIO)
# Qt's `slots` and `signals` keyword macros would rewrite the library's own
# members of those names (and GIO's headers use `signals` as a name).
target_compile_definitions(bench_watch PRIVATE QT_NO_KEYWORDS)
