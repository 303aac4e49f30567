#pragma once

/// \file
/// Everything a host needs to embed Dayvex: the control, its object model, the
/// errors it throws, iCalendar exchange and printing.

/// \namespace dayvex
/// The Dayvex library: the agenda control zntDayvex and everything it works with.

/// \mainpage Dayvex
/// An embeddable agenda control for Qt 6 Widgets. Include <dayvex/dayvex.h>.
///
/// - dayvex::zntDayvex: the control itself.
/// - dayvex::DayvexData: the agenda it shows, with dayvex::Schedules, dayvex::ToDoS
///   and dayvex::Users; their records dayvex::Schedule and dayvex::ToDo.
/// - dayvex::Date: the automation date every record uses.
/// - dayvex::Error: what the library throws.
/// - dayvex::importICalendar() and dayvex::exportICalendar(): iCalendar exchange.
/// - dayvex::printAgenda(): printing on a QPrinter or a QPdfWriter.
/// - dayvex::PropertyBag: the host's store of the control's design-time properties.
/// - dayvex::ReminderSound: what a reminder plays, for a host to route elsewhere.

#include <dayvex/platform/date.h>
#include <dayvex/platform/error.h>
#include <dayvex/platform/keyedcollection.h>

#include <dayvex/model/records.h>
#include <dayvex/model/lookuplists.h>
#include <dayvex/model/schedules.h>
#include <dayvex/model/todos.h>
#include <dayvex/model/alarms.h>
#include <dayvex/model/dayvexdata.h>

#include <dayvex/exchange/icalendar.h>
#include <dayvex/store/localstore.h>
#include <dayvex/sync/caldavsync.h>
#include <dayvex/sync/secretstore.h>
#include <dayvex/printing/agendaprint.h>
#include <dayvex/reminders/remindersound.h>

#include <dayvex/control/zntdayvex.h>
