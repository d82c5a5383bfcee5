# Base64, quoted-printable and header decoding against GMime and KCodecs,
# the two libraries a mail tool on Linux would otherwise use.
tq_bench_pkg_config(GMIME gmime-3.0)
find_package(KF5Codecs REQUIRED)
tq_add_benchmark(encodings PkgConfig::GMIME KF5::Codecs)
