# Base64, quoted-printable and header decoding against GMime and KCodecs,
# the two libraries a mail tool on Linux would otherwise use.
find_package(PkgConfig REQUIRED)
if(NOT TARGET PkgConfig::GMIME)
  pkg_check_modules(GMIME REQUIRED IMPORTED_TARGET gmime-3.0)
endif()
find_package(KF5Codecs REQUIRED)
add_executable(bench_encodings ${CMAKE_CURRENT_LIST_DIR}/encodings.cpp)
target_link_libraries(bench_encodings PRIVATE TQBaseKit::TQBaseKit benchmark::benchmark PkgConfig::GMIME KF5::Codecs)
