# Localized-string lookup in a bundle with five resource bundles and
# 2,000-entry tables, against gettext's dgettext on the same table (glibc's;
# the catalogue is built with msgfmt from Debian's gettext package).
find_program(TQ_MSGFMT msgfmt REQUIRED)
tq_add_benchmark(localize)
target_compile_definitions(bench_localize PRIVATE TQ_MSGFMT="${TQ_MSGFMT}")
