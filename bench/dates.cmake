# Writing dates in the shared RFC 3339 and RFC 2822 formats against Howard
# Hinnant's date library (Debian libhowardhinnant-date-dev, with its time-zone
# part on the system's tz database), the library a C++ program would
# otherwise use to write a zoned date.
find_package(date REQUIRED)
tq_add_benchmark(dates date::date date::date-tz)
