#!/usr/bin/env python3
"""Recomputes the library's date ranges and date preferences with Python's
datetime and zoneinfo, independently of ICU, and reports where they differ.

Input lines, tab-separated: ZONE FIRST_WEEKDAY NOW KIND START END, instants in
whole seconds since 1970 (END may be "nil"), FIRST_WEEKDAY 1 (Sunday) to 7 as
the library's locale data has it. KIND is "R:<identifier>" (a relative range),
"U:<unit>" (the unit range of now) or "P:<type>,<value>,<amount>,<has time>,
<hour>,<minute>" (a date preference, START its date).

The library's rules: wall-clock arithmetic on components, overflow rolling into
the next unit; a wall time a transition skips is read with the offset before
it, a repeated one as the later; hours, minutes and seconds add elapsed time,
days and larger keep the wall time.
Lines "T ZONE EPOCH" list the zone's offset changes 1985-2038 in the library's
(ICU's) copy of the tz database. Where the system's copy, which zoneinfo reads,
differs, results within a year of a differing change are set aside and counted:
the two sides would work from different facts.
Exit status 0 when everything compared agrees, else the differences on stdout.
"""

import sys
from datetime import datetime, timedelta, timezone
from zoneinfo import ZoneInfo

DISTANT_FUTURE = 63113904000 + 978307200  # 4001-01-01 00:00:00 UTC
SCAN_FROM, SCAN_TO = 473385600, 2145916800  # 1985 to 2038
STEPS = {"LAST": -1, "THIS": 0, "NEXT": 1}


def wall(epoch, tz):
    return datetime.fromtimestamp(epoch, tz).replace(tzinfo=None)


def offset(epoch, tz):
    return int(datetime.fromtimestamp(epoch, tz).utcoffset().total_seconds())


def to_epoch(naive, tz):
    """The instant of a wall time: the offset before a skip, the later of a repeat."""
    a, b = naive.replace(tzinfo=tz, fold=0), naive.replace(tzinfo=tz, fold=1)
    if a.utcoffset() != b.utcoffset() and wall(a.timestamp(), tz) == naive:
        return int(b.timestamp())
    return int(a.timestamp())


def naive(y, mo, d, h=0, mi=0, s=0):
    """Components with overflow rolled into the next unit."""
    return datetime(y + (mo - 1) // 12, (mo - 1) % 12 + 1, 1) + timedelta(days=d - 1, hours=h, minutes=mi, seconds=s)


def seconds_in_day(epoch, tz):
    w = wall(epoch, tz)
    return w.hour * 3600 + w.minute * 60 + w.second


def add_days(epoch, days, tz):
    """Days added as elapsed time, then moved back to the same wall time by
    the change of offset; when that wall time is skipped on the new day, the
    elapsed result stands if the offset grew."""
    t = epoch + days * 86400
    change = offset(epoch, tz) - offset(t, tz)
    if seconds_in_day(t, tz) == seconds_in_day(epoch, tz) or change == 0:
        return t
    moved = t + change
    return t if change < 0 and seconds_in_day(moved, tz) != seconds_in_day(epoch, tz) else moved


def add_months(epoch, months, tz):
    w = wall(epoch, tz)
    y, mo = w.year + (w.month - 1 + months) // 12, (w.month - 1 + months) % 12 + 1
    last = (naive(y, mo + 1, 1) - timedelta(days=1)).day
    return to_epoch(datetime(y, mo, min(w.day, last), w.hour, w.minute, w.second), tz)


def icu_weekday(d):
    return d.isoweekday() % 7 + 1  # 1 Sunday ... 7 Saturday


def unit_range(unit, epoch, tz, first_weekday):
    w = wall(epoch, tz)
    if unit == 512:  # the week: the Sunday of the locale's week holding the date
        week_start = w.date() - timedelta(days=(icu_weekday(w) - first_weekday) % 7)
        sunday = week_start + timedelta(days=(1 - first_weekday) % 7)
        start = to_epoch(naive(sunday.year, sunday.month, sunday.day), tz)
        return start, add_days(start, 7, tz) - 1
    if unit in (4, 8):  # the year, the month
        start = to_epoch(naive(w.year, w.month if unit == 8 else 1, 1), tz)
        return start, add_months(start, 1 if unit == 8 else 12, tz) - 1
    if unit in (32, 64):  # the hour, the minute: elapsed time
        start = to_epoch(naive(w.year, w.month, w.day, w.hour, w.minute if unit == 64 else 0), tz)
        return start, start + (60 if unit == 64 else 3600) - 1
    start = to_epoch(naive(w.year, w.month, w.day), tz)
    return start, add_days(start, 1, tz) - 1


def days_between(start_epoch, end_epoch, tz):
    s, e = wall(start_epoch, tz), wall(end_epoch, tz)
    return to_epoch(naive(s.year, s.month, s.day), tz), to_epoch(naive(e.year, e.month, e.day + 1), tz) - 1


def relative(identifier, now, tz, first_weekday):
    step = STEPS.get(identifier.split("_")[0])
    if identifier in ("TODAY", "TOMORROW", "YESTERDAY"):
        days = {"TODAY": 0, "TOMORROW": 1, "YESTERDAY": -1}[identifier]
        return unit_range(16, add_days(now, days, tz), tz, first_weekday)
    if identifier.endswith("_WEEK"):
        return unit_range(512, add_days(now, 7 * step, tz), tz, first_weekday)
    if identifier.endswith("_MONTH"):
        return unit_range(8, add_months(now, step, tz), tz, first_weekday)
    if identifier == "PASTDUE":
        return days_between(to_epoch(naive(1970, 1, 1), tz), add_days(now, -1, tz), tz)
    if identifier == "FUTURE":
        return days_between(add_days(now, 1, tz), DISTANT_FUTURE, tz)
    raise ValueError(identifier)


def day_start(d, tz):
    """The first instant of a day: a skipped midnight gives the first that exists."""
    a = naive(d.year, d.month, d.day).replace(tzinfo=tz, fold=0)
    if wall(a.timestamp(), tz) == a.replace(tzinfo=None):
        return int(a.timestamp())  # the earlier of a repeated midnight too
    return to_epoch(naive(d.year, d.month, d.day), tz)


def preference(case, now, tz):
    kind, value, amount, has_time, hour, minute = (int(field) for field in case.split(","))
    w = wall(now, tz)
    y, mo, d, h, mi = w.year, w.month, w.day, w.hour, w.minute
    if kind == 1:  # an offset from now: minutes, hours, or days at an optional time
        if value == 0:
            mi += amount
        elif value == 1:
            h += amount
        elif value == 2:
            d += amount
            if has_time:
                h, mi = hour, minute
        return to_epoch(naive(y, mo, d, h, mi), tz)
    h, mi = hour, minute
    if value == 1:
        d += 1
    elif value == 2:
        d += amount
    elif 11 <= value <= 17:  # the next such weekday, at its first instant
        day = w.date()
        for _ in range(8):
            if icu_weekday(day) == value - 10 and day_start(day, tz) > now:
                return day_start(day, tz)
            day += timedelta(days=1)
        raise ValueError("no weekday found")
    elif value == 101:
        mo, d = mo + 1, 1
    elif value == 102:
        d = (naive(y, mo + 1, 1) - timedelta(days=1)).day
    return to_epoch(naive(y, mo, d, h, mi), tz)


def transitions_of(tz):
    """The first second of each new offset, found day by day and bisected."""
    found = []
    for t in range(SCAN_FROM, SCAN_TO, 86400):
        low, high = t, t + 86400
        if offset(low, tz) == offset(high, tz):
            continue
        while high - low > 1:
            middle = (low + high) // 2
            low, high = (middle, high) if offset(middle, tz) == offset(low, tz) else (low, middle)
        found.append(high)
    return found


def main(path):
    differences, count, set_aside = [], 0, {}
    zones, library_transitions, unreliable = {}, {}, {}
    for line in open(path):
        fields = line.rstrip("\n").split("\t")
        if fields[0] == "T":
            library_transitions.setdefault(fields[1], set()).add(int(fields[2]))
            continue
        zone, first_weekday, now, kind, start, end = fields
        tz = zones.setdefault(zone, ZoneInfo(zone))
        if zone not in unreliable:
            differing = set(transitions_of(tz)).symmetric_difference(library_transitions.get(zone, set()))
            unreliable[zone] = {datetime.fromtimestamp(t, timezone.utc).year for t in differing}
        now, first_weekday = int(now), int(first_weekday)
        year = datetime.fromtimestamp(now, timezone.utc).year
        if any(abs(year - y) <= 1 for y in unreliable[zone]):
            set_aside[zone] = set_aside.get(zone, 0) + 1
            continue
        got = (int(start), None if end == "nil" else int(end))
        family, name = kind.split(":", 1)
        if family == "R":
            expected = relative(name, now, tz, first_weekday)
        elif family == "U":
            expected = unit_range(int(name), now, tz, first_weekday)
        else:
            expected = (preference(name, now, tz), None)
        count += 1
        if got != expected:
            stamp = lambda t: datetime.fromtimestamp(t, tz).isoformat() if t is not None else None
            differences.append(f"{zone} now={stamp(now)} {kind}: library {[stamp(t) for t in got]} "
                               f"python {[stamp(t) for t in expected]}")
    for difference in differences[:60]:
        print(difference)
    for zone, n in sorted(set_aside.items()):
        print(f"{zone}: {n} results set aside: the tz databases differ in {sorted(unreliable[zone])}")
    print(f"{count} results compared, {len(differences)} differ")
    return 1 if differences or count == 0 else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
