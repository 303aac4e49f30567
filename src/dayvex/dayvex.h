#pragma once

// Everything a host needs to embed Dayvex: the control, its object model, the
// errors it throws, iCalendar exchange and printing.

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
#include <dayvex/printing/agendaprint.h>

#include <dayvex/control/propertybag.h>
#include <dayvex/control/zntdayvex.h>
