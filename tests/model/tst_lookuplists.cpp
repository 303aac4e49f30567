#include <dayvextest.h>
#include <dayvex/model/dayvexdata.h>

namespace {
std::pair<int, QString> errorOf(const std::function<void()> &call)
{
    try {
        call();
    } catch (const Error &e) {
        return {e.number(), e.description() + "|" + e.source()};
    }
    return {0, QString()};
}
} // namespace

class tst_LookupLists : public QObject
{
    Q_OBJECT
private slots:
    void usersRefuse_data()
    {
        QTest::addColumn<QString>("second");
        QTest::addColumn<int>("number");
        QTest::addColumn<QString>("text");
        const QString invalid = "Nominativo utente non valido.|zntDayvex.ocx";
        QTest::newRow("blank") << "   " << -2147221502 << invalid;
        QTest::newRow("empty") << "" << -2147221502 << invalid;
        QTest::newRow("same name, other case and blanks") << "  rossi " << -2147221503
                                                          << "Nominativo utente già presente.|zntDayvex.ocx";
    }

    void usersRefuse()
    {
        QFETCH(QString, second);
        Users users;
        users.Add("Rossi");
        const auto [n, t] = errorOf([&] { users.Add(second); });
        QTEST(n, "number");
        QTEST(t, "text");
        QCOMPARE(users.Count(), 1);
    }

    void usersKeepTheNameAsGiven()
    {
        Users users;
        users.Add(" Bianchi", "tag");
        QCOMPARE(users.Item(1)->Key, " Bianchi");
        // users are found by position only; a bad removal is an invalid user
        QCOMPARE(errorOf([&] { users.Item(" Bianchi"); }).first, 5);
        QCOMPARE(errorOf([&] { users.Remove(7); }).first, -2147221502);
        QCOMPARE(errorOf([&] { users.Remove("Bianchi"); }).first, -2147221502);
        users.Remove(1);
        QCOMPARE(users.Count(), 0);
    }

    void placesAndProjects()
    {
        Places places;
        const auto first = places.Add("Sala A", "1");
        const auto second = places.Add("SALA A", "2");
        QCOMPARE(places.Count(), 1);
        QVERIFY(first != second);
        QCOMPARE(places.Item("sala a"), first);
        QCOMPARE(second->Tag, "2"); // returned all the same, though not stored

        ActiveProjects projects;
        projects.Add("Sito");
        projects.Add("Sito");
        QCOMPARE(projects.Count(), 2);
        QCOMPARE(errorOf([&] { projects.Item("Sito"); }).first, 5);
    }

    void clearReleases()
    {
        DayvexData data;
        auto schedules = data.Schedules();
        std::weak_ptr<Alarms> alarms = data.Alarms();
        std::weak_ptr<Users> users = data.Users();
        schedules->Add("1", "", Date(36863.4), Date(36863.5), "", "", "", "x", "", Date());
        data.Clear();
        QVERIFY(alarms.expired());
        QVERIFY(users.expired());
        QCOMPARE(data.Schedules()->Count(), 0);
        QVERIFY(data.Schedules() != schedules);
        QCOMPARE(schedules->Count(), 1); // the host's reference keeps its appointments
    }
};

QTEST_GUILESS_MAIN(tst_LookupLists)
#include "tst_lookuplists.moc"
