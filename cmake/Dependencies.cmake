# Every dependency is a Debian -dev package that scripts/setup installs. The
# library's own dependencies are found again by the installed package
# (cmake/TQBaseKitConfig.cmake.in) and named in the pkg-config file
# (cmake/tqbasekit.pc.in): keep the three lists in step.
find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)
find_package(ICU 72 REQUIRED COMPONENTS uc i18n data)
find_package(OpenSSL REQUIRED COMPONENTS Crypto)
find_package(EXPAT REQUIRED)
find_package(nlohmann_json 3 REQUIRED)  # header-only, used inside the library alone
# A prefix of our own, so that an including project's pkg_check_modules(SYSTEMD
# ...) and ours do not overwrite each other's variables and target.
pkg_check_modules(TQ_SYSTEMD REQUIRED IMPORTED_TARGET libsystemd)
# Keyboard layouts: xkbcommon compiles keymaps from the xkeyboard-config data.
pkg_check_modules(TQ_XKBCOMMON REQUIRED IMPORTED_TARGET xkbcommon)
if(TQ_BUILD_TESTS)
  find_package(GTest REQUIRED)
endif()
if(TQ_BUILD_BENCH)
  find_package(benchmark REQUIRED)
endif()
