#!/usr/bin/env python3
"""Recomputes date ranges and date preferences with Python's datetime and
zoneinfo, independently of ICU, and compares them with the library's results.

Input: one line per result, tab-separated:
    ZONE FIRST_WEEKDAY MIN_DAYS NOW KIND START END
NOW, START and END are whole seconds since 1970 (END may be "nil"). KIND is
"R:<identifier>", "U:<unit>" (a unit range of now) or "P:<case>" (a date
preference, START its date). FIRST_WEEKDAY (1 Sunday ... 7 Saturday) is the
locale's week data, which the library reads from CLDR.

The rules modelled are the library's: wall-clock arithmetic on components
with overflow rolling into the next unit; a wall time that a transition skips
is read with the offset before it, a repeated one as the later of the two;
adding hours, minutes and seconds adds elapsed time, adding days and larger
keeps the wall time.
Lines "T ZONE EPOCH" list the zone's offset changes from 1985 to 2038 in the
library's time-zone data (ICU's own copy of the tz database). Where the
system's tz database, which zoneinfo reads, has other changes (a country
changed its rules after ICU's copy was made), results whose NOW is within a
year of a differing change are set aside and counted, not compared: the two
computations then work from different facts.
Exit status 0 when everything compared agrees; else the differences on stdout.
"""

import sys
from datetime import datetime, timedelta, timezone
from zoneinfo import ZoneInfo

UTC = timezone.utc
DISTANT_FUTURE = 63113904000 + 978307200  # 4001-01-01 00:00:00 UTC


def wall(epoch, tz):
    return datetime.fromtimestamp(epoch, tz).replace(tzinfo=None)


def to_epoch(naive, tz):
    """The instant of a wall time: the offset before a skip, the later of a repeat."""
    a, b = naive.replace(tzinfo=tz, fold=0), naive.replace(tzinfo=tz, fold=1)
    if a.utcoffset() == b.utcoffset():
        return int(a.timestamp())
    if wall(a.timestamp(), tz) == naive:
        return int(b.timestamp())
    return int(a.timestamp())


def naive(y, mo, d, h=0, mi=0, s=0):
    """Components with overflow rolled into the next unit."""
    y += (mo - 1) // 12
    mo = (mo - 1) % 12 + 1
    return datetime(y, mo, 1) + timedelta(days=d - 1, hours=h, minutes=mi, seconds=s)


def seconds_in_day(epoch, tz):
    w = wall(epoch, tz)
    return w.hour * 3600 + w.minute * 60 + w.second


def offset(epoch, tz):
    return int(datetime.fromtimestamp(epoch, tz).utcoffset().total_seconds())


def add_days(epoch, days, tz):
    """Days added as elapsed time, then moved back to the same wall time by
    the change of offset; when that wall time is skipped on the new day, the
    elapsed result stands if the offset grew."""
    t = epoch + days * 86400
    if seconds_in_day(t, tz) == seconds_in_day(epoch, tz):
        return t
    change = offset(epoch, tz) - offset(t, tz)
    if change == 0:
        return t
    moved = t + change
    if seconds_in_day(moved, tz) != seconds_in_day(epoch, tz) and change < 0:
        return t
    return moved


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
    if unit == 4:
        start = to_epoch(naive(w.year, 1, 1), tz)
        return start, add_months(start, 12, tz) - 1
    if unit == 8:
        start = to_epoch(naive(w.year, w.month, 1), tz)
        return start, add_months(start, 1, tz) - 1
    if unit == 32:
        start = to_epoch(naive(w.year, w.month, w.day, w.hour), tz)
        return start, start + 3600 - 1
    if unit == 64:
        start = to_epoch(naive(w.year, w.month, w.day, w.hour, w.minute), tz)
        return start, start + 60 - 1
    start = to_epoch(naive(w.year, w.month, w.day), tz)
    return start, add_days(start, 1, tz) - 1


def days_between(start_epoch, end_epoch, tz):
    s, e = wall(start_epoch, tz), wall(end_epoch, tz)
    return to_epoch(naive(s.year, s.month, s.day), tz), to_epoch(naive(e.year, e.month, e.day + 1), tz) - 1


def relative(identifier, now, tz, first_weekday):
    if identifier == "TODAY":
        return unit_range(16, now, tz, first_weekday)
    if identifier in ("TOMORROW", "YESTERDAY"):
        return unit_range(16, add_days(now, 1 if identifier == "TOMORROW" else -1, tz), tz, first_weekday)
    if identifier.endswith("_WEEK"):
        step = {"LAST": -1, "THIS": 0, "NEXT": 1}[identifier.split("_")[0]]
        return unit_range(512, add_days(now, 7 * step, tz), tz, first_weekday)
    if identifier.endswith("_MONTH"):
        step = {"LAST": -1, "THIS": 0, "NEXT": 1}[identifier.split("_")[0]]
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


# Preference cases: (type, preset or unit, amount, has time, hour, minute).
PREFERENCES = {
    "today-0930": (0, 0, 0, False, 9, 30),
    "tomorrow-2330": (0, 1, 0, False, 23, 30),
    "in40days-0230": (0, 2, 40, False, 2, 30),
    "next-sunday": (0, 11, 0, False, 9, 0),
    "next-tuesday": (0, 13, 0, False, 9, 0),
    "first-next-month-0000": (0, 101, 0, False, 0, 0),
    "last-this-month-1200": (0, 102, 0, False, 12, 0),
    "plus-90-minutes": (1, 0, 90, False, 0, 0),
    "plus-30-hours": (1, 1, 30, False, 0, 0),
    "plus-3-days-0230": (1, 2, 3, True, 2, 30),
}


def preference(case, now, tz):
    kind, value, amount, has_time, hour, minute = PREFERENCES[case]
    w = wall(now, tz)
    y, mo, d, h, mi = w.year, w.month, w.day, w.hour, w.minute
    if kind == 1:
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
    elif 11 <= value <= 17:
        day = w.date()
        for _ in range(8):
            if icu_weekday(day) == value - 10:
                start = day_start(day, tz)
                if start > now:
                    return start
            day += timedelta(days=1)
        raise ValueError("no weekday found")
    elif value == 101:
        mo, d = mo + 1, 1
    elif value == 102:
        d = (naive(y, mo + 1, 1) - timedelta(days=1)).day
    return to_epoch(naive(y, mo, d, h, mi), tz)


SCAN_FROM, SCAN_TO = 473385600, 2145916800  # 1985 to 2038


def transitions_of(tz):
    """The first second of each new offset, found day by day and bisected."""
    found = []
    for t in range(SCAN_FROM, SCAN_TO, 86400):
        if offset(t, tz) == offset(t + 86400, tz):
            continue
        low, high = t, t + 86400
        while high - low > 1:
            middle = (low + high) // 2
            if offset(middle, tz) == offset(low, tz):
                low = middle
            else:
                high = middle
        found.append(high)
    return found


def differing_years(library_transitions, tz):
    ours = set(transitions_of(tz))
    return {datetime.fromtimestamp(t, UTC).year for t in ours.symmetric_difference(library_transitions)}


def main(path):
    differences, count, set_aside = [], 0, {}
    zones, library_transitions, unreliable = {}, {}, {}
    with open(path) as lines:
        for line in lines:
            fields = line.rstrip("\n").split("\t")
            if fields[0] == "T":
                library_transitions.setdefault(fields[1], set()).add(int(fields[2]))
                continue
            zone, first_weekday, _min_days, now, kind, start, end = fields
            tz = zones.setdefault(zone, ZoneInfo(zone))
            if zone not in unreliable:
                unreliable[zone] = differing_years(library_transitions.get(zone, set()), tz)
            now, first_weekday = int(now), int(first_weekday)
            year = datetime.fromtimestamp(now, UTC).year
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
