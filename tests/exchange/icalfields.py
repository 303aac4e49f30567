"""Prints what python3-icalendar reads of each VEVENT and VTODO of a file, a line each:
uid|summary|description|categories|start in UTC|end or due in UTC|reminder"""
import datetime
import sys
from icalendar import Calendar


def utc(prop):
    value = getattr(prop, 'dt', None)
    if isinstance(value, datetime.timedelta):
        return str(int(value.total_seconds()))
    if isinstance(value, datetime.datetime):
        return value.astimezone(datetime.timezone.utc).strftime('%Y%m%dT%H%M%SZ')
    return value.strftime('%Y%m%d') if value else ''


for c in Calendar.from_ical(open(sys.argv[1], 'rb').read()).walk():
    if c.name in ('VEVENT', 'VTODO'):
        found = c.get('CATEGORIES')
        names = ','.join(str(n) for e in (found if isinstance(found, list) else [found] if found else []) for n in e.cats)
        alarms = c.walk('VALARM')
        fields = [c.get('UID'), c.get('SUMMARY', ''), c.get('DESCRIPTION', ''), names, utc(c.get('DTSTART')),
                  utc(c.get('DTEND' if c.name == 'VEVENT' else 'DUE')), utc(alarms[0]['TRIGGER'] if alarms else None)]
        print('|'.join(str(f) for f in fields).replace('\n', '\\n'))
