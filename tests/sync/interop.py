#!/usr/bin/python3
# Another CalDAV client on the same calendar: Debian's python3-caldav.
# interop.py URL USER PASSWORD CALENDAR write|read UID [SUMMARY]
import sys

import caldav

url, user, password, calendar_url, action, uid = sys.argv[1:7]
client = caldav.DAVClient(url=url, username=user, password=password)
calendar = client.calendar(url=calendar_url)
if action == "write":
    summary = sys.argv[7]
    ics = ("BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//interop//EN\r\nBEGIN:VEVENT\r\nUID:%s\r\n"
           "DTSTAMP:20270101T000000Z\r\nDTSTART:20270301T090000Z\r\nDTEND:20270301T100000Z\r\n"
           "SUMMARY:%s\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n") % (uid, summary)
    calendar.save_event(ics)  # a new UID adds, a known one replaces
elif action == "read":
    event = calendar.event_by_uid(uid)
    event.load()
    print(event.icalendar_component["SUMMARY"])
