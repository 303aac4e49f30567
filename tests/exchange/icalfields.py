"""Prints what python3-icalendar reads of each VEVENT and VTODO of a file, one line each:
uid|summary|description|categories|start in UTC|end or due in UTC|reminder"""
import datetime
import sys

from icalendar import Calendar


def utc(prop):
    if prop is None:
        return ''
    value = prop.dt
    if isinstance(value, datetime.datetime):
        return value.astimezone(datetime.timezone.utc).strftime('%Y%m%dT%H%M%SZ')
    return value.strftime('%Y%m%d')


def categories(component):
    found = component.get('CATEGORIES')
    lists = found if isinstance(found, list) else [found] if found is not None else []
    return ','.join(str(name) for entry in lists for name in entry.cats)


def reminder(component):
    alarms = component.walk('VALARM')
    if not alarms:
        return ''
    trigger = alarms[0]['TRIGGER'].dt
    if isinstance(trigger, datetime.timedelta):
        return str(int(trigger.total_seconds()))
    return utc(alarms[0]['TRIGGER'])


with open(sys.argv[1], 'rb') as file:
    calendar = Calendar.from_ical(file.read())
for c in calendar.walk():
    if c.name in ('VEVENT', 'VTODO'):
        end = c.get('DTEND') if c.name == 'VEVENT' else c.get('DUE')
        print('|'.join([str(c.get('UID')), str(c.get('SUMMARY', '')), str(c.get('DESCRIPTION', '')),
                        categories(c), utc(c.get('DTSTART')), utc(end), reminder(c)]).replace('\n', '\\n'))
