// The README's host: its own data, a veto on every delete, a log of the selection.
#include <dayvex/dayvex.h>

#include <QApplication>
#include <cstdio>

struct KeepEverything : dayvex::HostPolicy
{
    void BeforeScheduleDelete(std::shared_ptr<dayvex::Schedule> &mSca, bool &, bool &Cancel) override
    {
        std::printf("host keeps \"%s\"\n", qPrintable(mSca->Description));
        Cancel = true;
    }
};

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    auto plan = std::make_shared<dayvex::DayvexData>();
    dayvex::Schedule meeting;
    meeting.Key = plan->Schedules()->NewKey();
    meeting.Description = "Riunione";
    meeting.setStart(QDateTime(QDate(2026, 11, 23), QTime(9, 0)));
    meeting.setEnd(meeting.start().addSecs(3600));
    plan->Schedules()->Add(meeting);

    dayvex::zntDayvex agenda;
    KeepEverything policy;
    agenda.setHostPolicy(&policy);
    agenda.setAutoRefresh(true); // no Refresh() after the host's own changes
    agenda.setPlan(plan);
    QObject::connect(&agenda, &dayvex::zntDayvex::selectionChanged,
                     [&] { std::printf("selected %s\n", qPrintable(agenda.selectedKey())); });
    agenda.show();
    agenda.select(meeting.Key);
    agenda.deleteSelected(); // the policy says no
    if (app.arguments().contains("--check"))
        return plan->Schedules()->Count() == 1 && agenda.selectedKey() == meeting.Key ? 0 : 1;
    return app.exec();
}
