#pragma once

// Every header of the library, the internal ones too: for the project's own tests and benchmark.

#include <dayvex/dayvex.h>
#include <dayvex/platform/format.h>
#include <dayvex/platform/color.h>
#include <dayvex/platform/capslock.h>

#include <dayvex/model/sharedsettings.h>

#include <dayvex/i18n/language.h>
#include <dayvex/platform/inireader.h>

#include <dayvex/layout/controllayout.h>
#include <dayvex/control/monthcalendar.h>
#include <dayvex/control/statusline.h>
#include <dayvex/platform/twips.h>
#include <dayvex/model/hostevents.h>
#include <dayvex/editing/editinghost.h>
#include <dayvex/editing/prompts.h>
#include <dayvex/editing/appointmenteditor.h>
#include <dayvex/editing/appointmentcommands.h>
#include <dayvex/editing/commandflag.h>
#include <dayvex/editing/editorform.h>
#include <dayvex/editing/todoeditor.h>
#include <dayvex/editing/todocommands.h>
#include <dayvex/reminders/reminderhost.h>
#include <dayvex/reminders/soundplayback.h>
#include <dayvex/reminders/reminderpopup.h>
#include <dayvex/reminders/reminderswindow.h>
#include <dayvex/reminders/alarmscan.h>

#include <dayvex/layout/timegrid.h>
#include <dayvex/layout/todoorder.h>
#include <dayvex/layout/appointmentorder.h>
#include <dayvex/views/appointmentbox.h>
#include <dayvex/views/agendagrid.h>
#include <dayvex/views/cachedtextdelegate.h>
#include <dayvex/views/todogrid.h>
#include <dayvex/views/detailpane.h>
#include <dayvex/views/viewselection.h>
#include <dayvex/views/viewgrid.h>
#include <dayvex/layout/textfit.h>
#include <dayvex/views/daylist.h>
#include <dayvex/views/itemgestures.h>
#include <dayvex/printing/printpreview.h>
#include <dayvex/sync/webdav.h>
#include <dayvex/control/zntdayvex_p.h>
