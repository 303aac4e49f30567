#pragma once

#include <dayvex/dayvex_export.h>

#include <QString>

#include <memory>

namespace dayvex {

class DayvexData;

// Settings held once per process and shared by every control instance.
struct DAYVEX_CORE_EXPORT SharedSettings
{
    QString DayStartTime = QStringLiteral("08:00");
    QString DayEndTime = QStringLiteral("20:00");
    qint16 DayStepMinutes = 30;
    std::shared_ptr<DayvexData> Plan;
    bool MultiUserEnabled = true;
    bool ContactCodeEnabled = true;
    QString DefaultOwner;
    QString LanguageFileName;
    QString DateFormat = QStringLiteral("dd/mm/yyyy");
    QString DateTimeFormat = QStringLiteral("dd/mm/yyyy hh:ss"); // hours and seconds, as it always was
};

DAYVEX_CORE_EXPORT SharedSettings &sharedSettings();
// Puts every shared setting back to its default (for tests and for hosts that restart).
DAYVEX_CORE_EXPORT void resetSharedSettings();

} // namespace dayvex
