#ifdef DAYVEX_CORE_ONLY
#include <dayvex/model/dayvexdata.h> // a host of the records alone, without widgets
#else
#include <dayvex/dayvex.h>
#endif

#include <cstdio>

int main()
{
    dayvex::DayvexData data;
    auto schedules = data.Schedules();
    const auto start = dayvex::Date::fromDateTime(QDateTime(QDate(2026, 11, 23), QTime(9, 0)));
    schedules->Add(schedules->NewKey(), "Rossi", start, start.addMinutes(60), "", "", "",
                   "Riunione", "Sala A", dayvex::Date());
    const bool ok = schedules->Count() == 1 && schedules->Item("1")->Description == "Riunione"
                    && schedules->Places()->Count() == 1;
    std::printf("consumer: %s\n", ok ? "ok" : "FAILED");
    return ok ? 0 : 1;
}
