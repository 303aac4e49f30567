#pragma once

// Everything a host needs to embed Dayvex.

#include <dayvex/platform/clock.h>
#include <dayvex/platform/date.h>
#include <dayvex/platform/error.h>
#include <dayvex/platform/format.h>
#include <dayvex/platform/keyedcollection.h>

#include <dayvex/model/alarms.h>
#include <dayvex/model/dayvexdata.h>
#include <dayvex/model/lookuplists.h>
#include <dayvex/model/records.h>
#include <dayvex/model/schedules.h>
#include <dayvex/model/sharedsettings.h>
#include <dayvex/model/todos.h>
