#include <dayvextest.h>
#include <radicale.h>

#include <dayvex/control/zntdayvex.h>
#include <dayvex/editing/prompts.h>
#include <dayvex/model/dayvexdata.h>
#include <dayvex/exchange/icalendar.h>
#include <dayvex/store/localstore.h>
#include <dayvex/sync/caldavsync.h>
#include <dayvex/sync/secretstore.h>

#include <QApplication>
#include <QBuffer>
#include <QLineEdit>
#include <QNetworkAccessManager>
#include <QNetworkRequest>
#include <QSignalSpy>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QSslServer>
#include <QTcpServer>
#include <QTcpSocket>

#include <cstdio>

namespace {

// Counts what goes to the server: the method and path of each request.
class CountingNetwork : public QNetworkAccessManager
{
public:
    QStringList requests;
    std::function<void(QNetworkReply *)> onReply; // sees each reply as it is made
    // Set, the next PUT goes there instead and is kept, as a paused server
    // holds a request it takes later.
    QUrl holdNextPut;
    QNetworkRequest held;
    QByteArray heldBody;

protected:
    QNetworkReply *createRequest(Operation op, const QNetworkRequest &request, QIODevice *data) override
    {
        const QByteArray verb = request.attribute(QNetworkRequest::CustomVerbAttribute).toByteArray();
        requests << QString::fromLatin1(verb.isEmpty() ? QByteArray::number(op) : verb) + ' ' + request.url().path();
        QNetworkReply *reply = nullptr;
        if (!holdNextPut.isEmpty() && verb == "PUT" && data) {
            held = request;
            heldBody = data->readAll();
            QNetworkRequest elsewhere(request);
            elsewhere.setUrl(std::exchange(holdNextPut, QUrl()));
            auto *body = new QBuffer(this);
            body->setData(heldBody);
            body->open(QIODevice::ReadOnly);
            reply = QNetworkAccessManager::createRequest(op, elsewhere, body);
        } else
            reply = QNetworkAccessManager::createRequest(op, request, data);
        if (onReply)
            onReply(reply);
        return reply;
    }
};

// One device: a store of its own, its data and its sync, with retries planned by the test.
struct Peer
{
    QTemporaryDir dir;
    std::shared_ptr<DayvexData> data = std::make_shared<DayvexData>();
    LocalStore store{data};
    CountingNetwork network;
    CalDavSync sync{store, data, iCalendarResources()};
    std::vector<std::pair<std::chrono::milliseconds, std::function<void()>>> planned;

    explicit Peer(const Radicale &server)
    {
        store.open(dir.filePath("agenda.sqlite"));
        auto secrets = std::make_shared<MemorySecretStore>();
        sync.setSecretStore(secrets);
        sync.setAccount({server.server(), server.user});
        sync.setPassword(server.password);
        sync.setNetworkAccessManager(&network);
        sync.setScheduler([this](std::chrono::milliseconds delay, std::function<void()> due) { planned.emplace_back(delay, std::move(due)); });
        sync.setCalendar(server.calendar());
    }

    bool syncOnce()
    {
        QSignalSpy finished(&sync, &CalDavSync::syncFinished);
        sync.syncNow();
        if (!finished.wait(60000))
            return false;
        return finished.first().first().toBool();
    }

    std::shared_ptr<Schedule> add(const QString &what, Date start, const QString &rule = QString())
    {
        Schedule s;
        s.Key = data->Schedules()->NewKey();
        s.Description = what;
        s.StartDate = start;
        s.EndDate = start.addMinutes(60);
        s.Recurrence = rule;
        auto added = data->Schedules()->Add(s);
        store.save();
        return added;
    }

    std::shared_ptr<Schedule> find(const QString &what) const
    {
        for (const auto &s : *data->Schedules())
            if (s->Description == what)
                return s;
        return nullptr;
    }

    // What the store's file holds, read afresh as at the next start.
    QStringList stored() const
    {
        Peer *self = const_cast<Peer *>(this);
        auto fresh = std::make_shared<DayvexData>();
        LocalStore reader(fresh);
        reader.open(self->dir.filePath("agenda.sqlite"));
        return contents(*fresh, true);
    }

    QStringList contents() const { return contents(*data, false); }

    // Descriptions of the appointments, sorted, overrides as "description@series
    // description"; with tags, each with its UID and start.
    static QStringList contents(DayvexData &data, bool tags)
    {
        QStringList out;
        for (const auto &s : *data.Schedules()) {
            QString line = s->Description;
            if (tags)
                line += ' ' + s->Tag + ' ' + s->StartDate.toDateTime().toString(Qt::ISODate);
            if (const auto series = s->SeriesKey.isEmpty() ? nullptr : data.Schedules()->find(s->SeriesKey))
                line += '@' + series->Description;
            out << line;
        }
        for (const auto &t : *data.ToDoS())
            out << "todo:" + t->ShortDesc;
        out.sort();
        return out;
    }
};

// An override of series' occurrence at occurrence, described as what.
void addOverride(Peer &peer, const std::shared_ptr<Schedule> &series, Date occurrence, const QString &what)
{
    Schedule s;
    s.Key = peer.data->Schedules()->NewKey();
    s.Description = what;
    s.StartDate = occurrence.addMinutes(30);
    s.EndDate = occurrence.addMinutes(90);
    s.SeriesKey = series->Key;
    s.RecurrenceId = occurrence;
    s.Tag = series->Tag;
    peer.data->Schedules()->Add(s);
    peer.store.save();
}

// A server that answers every request with the same bytes.
class CannedServer : public QTcpServer
{
public:
    explicit CannedServer(QByteArray reply) : m_reply(std::move(reply))
    {
        listen(QHostAddress::LocalHost, 0);
        connect(this, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket *socket = nextPendingConnection()) {
                connect(socket, &QTcpSocket::readyRead, socket, [this, socket] {
                    socket->readAll();
                    socket->write(m_reply);
                    socket->disconnectFromHost();
                });
            }
        });
    }

private:
    QByteArray m_reply;
};

QByteArray response(const QByteArray &status, const QByteArray &headers, const QByteArray &body)
{
    return "HTTP/1.1 " + status + "\r\n" + headers + "Content-Length: " + QByteArray::number(body.size())
        + "\r\nConnection: close\r\n\r\n" + body;
}

} // namespace

class TestCalDavSync : public QObject
{
    Q_OBJECT

    std::unique_ptr<Radicale> server;

private slots:
    void init()
    {
        server = std::make_unique<Radicale>();
        QVERIFY2(server->start(), "radicale did not start");
    }
    void cleanup() { server.reset(); }

    void discovery()
    {
        Peer peer(*server);
        QSignalSpy found(&peer.sync, &CalDavSync::calendarsFound);
        peer.sync.discover();
        QVERIFY(found.wait(20000));
        const auto calendars = found.first().first().value<QList<CalDavCalendar>>();
        QCOMPARE(calendars.size(), 1);
        QCOMPARE(calendars[0].displayName, QStringLiteral("Work"));
        QCOMPARE(calendars[0].url, server->calendar());
        QVERIFY(calendars[0].components.contains("VEVENT") && calendars[0].components.contains("VTODO"));
        QVERIFY(!calendars[0].syncToken.isEmpty());
    }

    // Two devices through one server: adds, changes, deletes, a series with
    // overrides and a to-do made on either side arrive on the other.
    void twoWay()
    {
        Peer a(*server), b(*server);
        const Date monday = at(2027, 3, 1, 9);
        a.add("single", monday);
        auto series = a.add("weekly", monday, "FREQ=WEEKLY;COUNT=10");
        series->Tag = "weekly-uid";
        a.store.save();
        addOverride(a, series, monday.addDays(7), "moved once");
        ToDo todo;
        todo.Key = a.data->ToDoS()->NewKey();
        todo.ShortDesc = "call back";
        todo.DueTo = monday.addDays(3);
        a.data->ToDoS()->Add(todo);
        a.store.save();
        QVERIFY(a.syncOnce());
        QCOMPARE(a.store.pendingCount(), 0);
        QVERIFY(b.syncOnce());
        QCOMPARE(b.contents(), a.contents());

        // b changes, adds an override and an appointment; a deletes one and changes the series.
        b.find("single")->Place = "Sala B";
        b.find("single")->Description = "single, moved";
        addOverride(b, b.find("weekly"), monday.addDays(14), "moved twice");
        b.add("from b", monday.addDays(1));
        a.data->Schedules()->Remove(a.find("single")->Key);
        a.store.save();
        QVERIFY(b.syncOnce());
        QVERIFY(a.syncOnce()); // a deleted what b changed: a conflict a answers by default
        QVERIFY(b.syncOnce());
        QCOMPARE(a.contents(), b.contents());
        QVERIFY(a.contents().contains("moved twice@weekly"));
        QVERIFY(a.contents().contains("from b"));

        b.data->Schedules()->Remove(b.find("from b")->Key);
        b.find("moved once")->Description = "moved once, later";
        b.store.save();
        QVERIFY(b.syncOnce());
        QVERIFY(a.syncOnce());
        QCOMPARE(a.contents(), b.contents());
        QVERIFY(!a.find("from b"));
        QCOMPARE(a.find("moved once, later")->SeriesKey, a.find("weekly")->Key);

        // A token the server does not know: the ETags are compared instead.
        b.add("after a lost token", monday.addDays(2));
        QVERIFY(b.syncOnce());
        a.store.commitSync({{}, {}, {}, {{"token", "http://radicale.org/ns/sync/0000"}}, false, {}});
        QVERIFY(a.syncOnce());
        QVERIFY(a.find("after a lost token"));
    }

    // Records that share a UID (an import of a copy with another start, a
    // host's own UIDs) go up as resources of their own, none refused; a series
    // keeps its changed occurrence.
    void sharedUid()
    {
        Peer a(*server), b(*server);
        const Date monday = at(2027, 3, 1, 9);
        auto series = a.add("weekly", monday, "FREQ=WEEKLY;COUNT=4");
        series->Tag = "same";
        a.store.save();
        addOverride(a, series, monday.addDays(7), "moved once");
        a.add("copy", monday.addDays(1))->Tag = "same";
        a.add("ours", monday.addDays(2))->Tag = "x-1@dayvex"; // both would be x-1.ics
        a.add("theirs", monday.addDays(2))->Tag = "x-1";
        for (const char *what : {"call", "call again"}) {
            ToDo todo;
            todo.Key = a.data->ToDoS()->NewKey();
            todo.ShortDesc = what;
            todo.Tag = "same";
            a.data->ToDoS()->Add(todo);
        }
        a.store.save();
        QSignalSpy conflicts(&a.sync, &CalDavSync::conflict);
        QVERIFY(a.syncOnce());
        QCOMPARE(conflicts.size(), 0);
        QCOMPARE(a.store.pendingCount(), 0);
        QSet<QString> uids;
        for (const auto &s : *a.data->Schedules())
            if (s->SeriesKey.isEmpty())
                uids << s->Tag;
        for (const auto &t : *a.data->ToDoS())
            uids << t->Tag;
        QCOMPARE(uids.size(), 6);
        QCOMPARE(a.find("moved once")->Tag, a.find("weekly")->Tag);
        QVERIFY(b.syncOnce());
        QCOMPARE(b.contents(), a.contents());
        QCOMPARE(a.stored(), Peer::contents(*a.data, true));

        // A host's dates that no second can name go through a sync as well; a
        // record iCalendar cannot hold stays here, its last version on the
        // server, and stops nothing else.
        a.add("odd", monday)->ReminderDate = Date(std::nan(""));
        a.find("copy")->EndDate = Date(std::numeric_limits<double>::infinity());
        a.find("weekly")->Description = "weekly, renamed";
        a.store.save();
        QVERIFY2(a.syncOnce(), qPrintable(a.sync.status().text()));
        QCOMPARE(a.store.pendingCount(), 0);
        QVERIFY(b.syncOnce());
        QVERIFY(b.find("odd") && b.find("weekly, renamed"));
        QCOMPARE(b.find("copy")->EndDate, monday.addDays(1).addMinutes(60));
        // Removed here later, it goes from the server too.
        a.data->Schedules()->Remove(a.find("copy")->Key);
        a.store.save();
        QVERIFY(a.syncOnce());
        QVERIFY(b.syncOnce());
        QVERIFY(!b.find("copy"));
    }

    // A changed occurrence whose series the host removed on its own still
    // shows, so it goes up on its own, before a first sync or after.
    void orphanOccurrence()
    {
        Peer a(*server), b(*server);
        const Date monday = at(2027, 3, 1, 9);
        // A record no change of which waits, which the server never had, goes up as well.
        QVERIFY(a.syncOnce());
        a.store.setTracksChanges(false);
        a.add("untracked", monday);
        a.store.setTracksChanges(true);
        for (const QString &name : {QStringLiteral("before"), QStringLiteral("after")}) {
            auto series = a.add(name, monday, "FREQ=DAILY;COUNT=3");
            addOverride(a, series, monday.addDays(1), name + " moved");
            if (name == "after")
                QVERIFY(a.syncOnce());
            a.data->Schedules()->Remove(series->Key);
            a.store.save();
        }
        QVERIFY(a.syncOnce());
        QCOMPARE(a.store.pendingCount(), 0);
        QVERIFY(b.syncOnce());
        QCOMPARE(b.contents(), (QStringList{"after moved", "before moved", "untracked"}));
        QCOMPARE(a.contents(), b.contents());

        // And a record removed with no change left waiting goes from the server.
        a.store.setTracksChanges(false);
        a.data->Schedules()->Remove(a.find("untracked")->Key);
        a.store.save();
        a.store.setTracksChanges(true);
        QVERIFY(a.syncOnce());
        QCOMPARE(a.store.pendingCount(), 0);
        QVERIFY(b.syncOnce());
        QCOMPARE(b.contents(), a.contents());
    }

    // A resource the server will not take (an import kept a to-do's DURATION
    // beside its DUE) is named to the host and stays here; the rest goes up,
    // and the to-do once changed goes up too.
    void refusedResource()
    {
        Peer a(*server), b(*server);
        const QByteArray file = "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//x//EN\r\nBEGIN:VTODO\r\nUID:bad-todo\r\n"
                                "SUMMARY:both\r\nDUE:20270301T090000Z\r\nDURATION:PT45M\r\nEND:VTODO\r\nEND:VCALENDAR\r\n";
        QVERIFY(importICalendarData(file, *a.data).fileRead);
        a.store.save();
        a.add("fine", at(2027, 3, 1, 9));
        QSignalSpy refused(&a.sync, &CalDavSync::uploadRefused);
        QVERIFY2(a.syncOnce(), qPrintable(a.sync.status().text()));
        QCOMPARE(refused.size(), 1);
        QCOMPARE(refused.first().first().toString(), QStringLiteral("bad-todo"));
        QCOMPARE(a.store.pendingCount(), 0);
        QVERIFY(b.syncOnce());
        QCOMPARE(b.contents(), QStringList{"fine"});

        a.data->ToDoS()->Item(1)->Extra.clear();
        a.store.save();
        QVERIFY(a.syncOnce());
        QVERIFY(b.syncOnce());
        QCOMPARE(b.contents(), (QStringList{"fine", "todo:both"}));
    }

    // What a person does in the control on one device (a deletion, its undo and
    // its redo) reaches the other device through the store's queue.
    void throughTheControl()
    {
        Peer a(*server), b(*server);
        const Date monday = at(2027, 3, 1, 9);
        a.add("kept", monday);
        a.add("deleted, undone, deleted", monday.addMinutes(120));
        QVERIFY(a.syncOnce());
        QVERIFY(b.syncOnce());
        const auto control = shownControl(b.data, monday);
        EditorDriver driver;
        const auto unanswered = qScopeGuard([&] { driver.stop(); });
        const auto typed = [&] {
            driver.whenOpen("frmAppuntamento", [](QDialog *editor) {
                QTest::keyClicks(field<QLineEdit>(editor, "DesApp"), "typed in the editor");
                press(editor, "Salva");
            });
            control->mnNuovo_Click();
            driver.stop();
            driver.answerPrompts(true);
            QVERIFY(control->select(b.find("deleted, undone, deleted")->Key));
        };
        for (const auto &step : std::vector<std::function<void()>>{typed, [&] { control->mnElimina_Click(); },
                                                                   [&] { control->undo(); },
                                                                   [&] { control->redo(); }}) {
            const QStringList before = b.contents();
            step();
            QVERIFY(b.contents() != before);
            QVERIFY(b.syncOnce());
            QVERIFY(a.syncOnce());
            QCOMPARE(a.contents(), b.contents());
            QCOMPARE(b.stored(), Peer::contents(*b.data, true));
            QCOMPARE(a.stored(), Peer::contents(*a.data, true));
        }
        QCOMPARE(a.contents(), (QStringList{"kept", "typed in the editor"}));

        // A record the sync named for the server since it was typed is still
        // undone, and redone under the same UID.
        driver.whenOpen("frmAppuntamento", [](QDialog *editor) {
            QTest::keyClicks(field<QLineEdit>(editor, "DesApp"), "typed again");
            press(editor, "Salva");
        });
        control->mnNuovo_Click();
        driver.stop();
        QVERIFY(b.syncOnce());
        const QString uid = b.find("typed again")->Tag;
        for (auto step : {&zntDayvex::undo, &zntDayvex::redo}) {
            const qsizetype count = b.contents().size();
            (control.get()->*step)();
            QCOMPARE(b.contents().size(), count + (step == &zntDayvex::undo ? -1 : 1));
            QVERIFY(b.syncOnce());
            QVERIFY(a.syncOnce());
            QCOMPARE(a.contents(), b.contents());
        }
        QCOMPARE(b.find("typed again")->Tag, uid);
    }

    void conflict_data()
    {
        QTest::addColumn<int>("answer");
        QTest::addColumn<QStringList>("expected"); // on b after the sync, then on a after its next
        QTest::newRow("no answer") << int(SyncConflict::Answer::Unanswered) << QStringList{"by a", "by b"};
        QTest::newRow("keep server") << int(SyncConflict::Answer::KeepServer) << QStringList{"by a"};
        QTest::newRow("keep local") << int(SyncConflict::Answer::KeepLocal) << QStringList{"by b"};
        QTest::newRow("keep both") << int(SyncConflict::Answer::KeepBoth) << QStringList{"by a", "by b"};
    }
    void conflict()
    {
        QFETCH(int, answer);
        QFETCH(QStringList, expected);
        Peer a(*server), b(*server);
        a.add("first", at(2027, 3, 1, 9));
        QVERIFY(a.syncOnce());
        QVERIFY(b.syncOnce());
        a.find("first")->Description = "by a";
        a.store.save();
        b.find("first")->Description = "by b";
        b.store.save();
        QVERIFY(a.syncOnce());

        QByteArray local, remote;
        connect(&b.sync, &CalDavSync::conflict, this, [&](SyncConflict &c) {
            local = c.local;
            remote = c.server;
            c.answer = SyncConflict::Answer(answer);
        });
        QVERIFY(b.syncOnce());
        QVERIFY(local.contains("SUMMARY:by b") && remote.contains("SUMMARY:by a"));
        QCOMPARE(b.contents(), expected);
        QVERIFY(a.syncOnce());
        QCOMPARE(a.contents(), expected);
    }

    // The server refuses an upload (412, its ETag is not the one we hold):
    // the host hears of it with the server's version, and nothing is lost.
    void preconditionFailed()
    {
        Peer a(*server), b(*server);
        a.add("first", at(2027, 3, 1, 9));
        QVERIFY(a.syncOnce());
        QVERIFY(b.syncOnce());
        auto resource = b.store.syncedResources().at(0);
        resource.etag = "\"not-the-server's\"";
        b.store.commitSync({{resource}, {}, {}, {}, false, {}});
        b.find("first")->Description = "by b";
        b.store.save();
        int conflicts = 0;
        connect(&b.sync, &CalDavSync::conflict, this, [&](SyncConflict &c) {
            ++conflicts;
            QVERIFY(c.server.contains("SUMMARY:first") && c.local.contains("SUMMARY:by b"));
        });
        QVERIFY(b.syncOnce());
        QCOMPARE(conflicts, 1);
        QVERIFY(b.network.requests.filter("GET").size() == 1);
        QCOMPARE(b.contents(), (QStringList{"by b", "first"}));
        QVERIFY(a.syncOnce());
        QCOMPARE(a.contents(), b.contents());
    }

    // An upload whose answer never came (the server stopped, the sync was
    // cancelled): the record's UID was in the store before it went, and what the
    // server then holds is this side's own, not a conflict.
    void answerLost()
    {
        Peer a(*server), b(*server);
        a.add("first", at(2027, 3, 1, 9));
        QStringList storedAtPut;
        a.network.onReply = [&](QNetworkReply *reply) {
            if (reply->operation() == QNetworkAccessManager::PutOperation
                || reply->request().attribute(QNetworkRequest::CustomVerbAttribute).toByteArray() == "PUT")
                storedAtPut << a.stored();
        };
        QVERIFY(a.syncOnce());
        QCOMPARE(storedAtPut.size(), 1);
        QVERIFY2(!storedAtPut[0].startsWith("first  "), qPrintable(storedAtPut[0])); // "first UID start"
        QVERIFY(b.syncOnce());
        // b sends what a then changes alike, as if a's own upload had gone through unanswered.
        for (Peer *peer : {&b, &a}) {
            peer->find("first")->Description = "changed";
            peer->store.save();
        }
        QVERIFY(b.syncOnce());
        int conflicts = 0;
        connect(&a.sync, &CalDavSync::conflict, this, [&] { ++conflicts; });
        QVERIFY(a.syncOnce());
        QCOMPARE(conflicts, 0);
        QCOMPARE(a.contents(), QStringList{"changed"});
        QCOMPARE(a.store.pendingCount(), 0);

        // The same where this side also set what iCalendar does not carry (a
        // lead on a single appointment): the server holds what went up.
        for (Peer *peer : {&b, &a}) {
            peer->find("changed")->Place = "Sala B";
            peer->store.save();
        }
        a.find("changed")->ReminderLead = 600;
        a.store.save();
        QVERIFY(b.syncOnce());
        QVERIFY(a.syncOnce());
        QCOMPARE(conflicts, 0);
        QCOMPARE(a.find("changed")->ReminderLead, 600);

        // A record removed while a sync runs goes from the server as well.
        a.add("removed meanwhile", at(2027, 3, 2, 9));
        QVERIFY(a.syncOnce());
        a.add("sent meanwhile", at(2027, 3, 3, 9));
        a.network.onReply = [&](QNetworkReply *reply) {
            const auto gone = a.find("removed meanwhile");
            if (gone && reply->request().attribute(QNetworkRequest::CustomVerbAttribute).toByteArray() == "PUT") {
                a.data->Schedules()->Remove(gone->Key);
                a.store.save();
            }
        };
        QVERIFY(a.syncOnce());
        a.network.onReply = {};
        QVERIFY(a.syncOnce());
        QVERIFY(b.syncOnce());
        QVERIFY(!b.find("removed meanwhile"));

        // An upload that reached a paused server only after the calendar was
        // read: refused as already there (412), and what is there is this side's own.
        auto late = a.add("late", at(2027, 3, 4, 9));
        late->Tag = "late-uid";
        a.store.save();
        DayvexData one;
        one.Schedules()->restore(std::make_shared<Schedule>(*late), late->Key);
        const QByteArray body = iCalendarResources().write(one);
        bool sent = false;
        a.network.onReply = [&](QNetworkReply *reply) {
            if (sent || reply->request().attribute(QNetworkRequest::CustomVerbAttribute).toByteArray() != "REPORT")
                return;
            sent = true;
            connect(reply, &QNetworkReply::finished, this, [&] {
                QNetworkAccessManager direct;
                QNetworkRequest put(server->calendar().resolved(QUrl("late-uid.ics")));
                put.setRawHeader("Authorization", "Basic " + (server->user + ':' + server->password).toUtf8().toBase64());
                put.setHeader(QNetworkRequest::ContentTypeHeader, "text/calendar");
                QNetworkReply *done = direct.put(put, body);
                QSignalSpy finished(done, &QNetworkReply::finished);
                QVERIFY(finished.wait(10000));
                QCOMPARE(done->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(), 201);
            });
        };
        QVERIFY(a.syncOnce());
        a.network.onReply = {};
        QVERIFY(sent);
        QCOMPARE(conflicts, 0);
        QCOMPARE(a.store.pendingCount(), 0);

        // The same with a removal.
        QVERIFY(b.syncOnce());
        for (Peer *peer : {&b, &a}) {
            peer->data->Schedules()->Remove(peer->find("changed")->Key);
            peer->store.save();
        }
        QVERIFY(b.syncOnce());
        QVERIFY(a.syncOnce());
        QCOMPARE(conflicts, 0);
        QCOMPARE(a.store.pendingCount(), 0);
    }

    // An upload a slow server takes only after the next sync read the calendar
    // and sent a later version over it: the later version stays, no conflict.
    void heldUpload()
    {
        Peer a(*server), b(*server);
        auto record = a.add("first", at(2027, 4, 1, 9));
        QVERIFY(a.syncOnce());
        int conflicts = 0;
        connect(&a.sync, &CalDavSync::conflict, this, [&] { ++conflicts; });
        CannedServer silent({}); // closes without a word
        a.network.holdNextPut = QUrl(QStringLiteral("http://127.0.0.1:%1/").arg(silent.serverPort()));
        record->Description = "second";
        a.store.save();
        QVERIFY(!a.syncOnce());
        QVERIFY(!a.network.heldBody.isEmpty());
        record->Description = "third";
        a.store.save();
        int late = 0;
        a.network.onReply = [&](QNetworkReply *reply) {
            if (reply->request().attribute(QNetworkRequest::CustomVerbAttribute).toByteArray() != "REPORT")
                return;
            connect(reply, &QNetworkReply::finished, this, [&] {
                QNetworkAccessManager direct;
                QNetworkRequest put(a.network.held);
                put.setRawHeader("Authorization", "Basic " + (server->user + ':' + server->password).toUtf8().toBase64());
                QNetworkReply *done = direct.sendCustomRequest(put, "PUT", a.network.heldBody);
                QSignalSpy finished(done, &QNetworkReply::finished);
                QVERIFY(finished.wait(10000));
                late = done->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
            });
        };
        QVERIFY(a.syncOnce());
        a.network.onReply = {};
        QCOMPARE(late / 100, 2);
        QCOMPARE(conflicts, 0);
        QCOMPARE(a.contents(), QStringList{"third"});
        QVERIFY(b.syncOnce());
        QCOMPARE(b.contents(), QStringList{"third"});
    }

    // The server stops in the middle of a sync and comes back: nothing is lost,
    // the queue goes up in the order it was made, the retries wait longer each time.
    void serverStopped()
    {
        Peer a(*server), b(*server);
        a.sync.setRetryDelays(std::chrono::seconds(1), std::chrono::seconds(4));
        QVERIFY(a.syncOnce());
        QStringList made;
        for (int i = 0; i < 12; ++i) {
            auto s = a.add(QString("change %1").arg(i), at(2027, 3, 1, 8).addDays(i));
            s->Tag = QString("uid-%1").arg(i, 2, 10, QChar('0'));
            made << s->Tag;
        }
        a.store.save();
        QCOMPARE(a.store.pendingCount(), 24); // each add and each tag

        connect(&a.network, &QNetworkAccessManager::finished, this, [&](QNetworkReply *) {
            if (a.network.requests.filter("PUT").size() == 4)
                server->stop();
        });
        QVERIFY(!a.syncOnce());
        QCOMPARE(a.sync.status().state, SyncStatus::State::Offline);
        const qint64 waiting = a.sync.status().queued;
        QVERIFY2(waiting > 0 && waiting < 24, qPrintable(QString::number(waiting)));
        QVERIFY(!a.syncOnce()); // still down: the next retry waits twice as long
        QCOMPARE(a.planned.size(), size_t(2));
        QCOMPARE(a.planned[1].first, 2 * a.planned[0].first);

        QVERIFY(server->start());
        QSignalSpy finished(&a.sync, &CalDavSync::syncFinished);
        a.planned.back().second(); // the retry comes
        QVERIFY(finished.wait(60000));
        QCOMPARE(a.sync.status().state, SyncStatus::State::Idle);
        QCOMPARE(a.store.pendingCount(), 0);

        QStringList order;
        for (const QString &request : a.network.requests) {
            const QString name = request.section('/', -1).section('.', 0, 0);
            if (request.startsWith("PUT") && !order.contains(name))
                order << name;
        }
        QCOMPARE(order, made);
        QVERIFY(b.syncOnce());
        QCOMPARE(b.contents(), a.contents());
    }

    // A first sync cancelled as the calendar starts to arrive leaves the store
    // consistent and queues nothing; the next one brings the whole calendar.
    void cancelled()
    {
        Peer a(*server), b(*server);
        for (int i = 0; i < 150; ++i)
            a.add(QString("event %1").arg(i), at(2027, 3, 1, 8).addDays(i));
        QVERIFY(a.syncOnce());
        b.network.onReply = [&b](QNetworkReply *reply) {
            if (b.network.requests.last().startsWith("REPORT"))
                QObject::connect(reply, &QNetworkReply::readyRead, &b.sync, [&b] { b.sync.cancel(); });
        };
        QVERIFY(!b.syncOnce());
        QCOMPARE(b.sync.status().state, SyncStatus::State::Idle);
        QVERIFY(b.data->Schedules()->Count() < 150);
        QCOMPARE(b.store.pendingCount(), 0);
        b.network.onReply = nullptr;
        QVERIFY(b.syncOnce());
        QCOMPARE(b.contents(), a.contents());
        QCOMPARE(b.store.pendingCount(), 0);
    }

    void nothingChangedIsOneRequest()
    {
        Peer a(*server);
        a.add("one", at(2027, 3, 1, 9));
        QVERIFY(a.syncOnce());
        QVERIFY(a.syncOnce());
        a.network.requests.clear();
        QVERIFY(a.syncOnce());
        QCOMPARE(a.network.requests, QStringList{"REPORT " + server->calendar().path()});

        // A change noted with automatic sync on goes up a moment later, not at the next round.
        a.sync.setAutoSyncInterval(std::chrono::minutes(5));
        a.add("two", at(2027, 3, 2, 9));
        const size_t planned = a.planned.size();
        a.sync.noteLocalChanges();
        QCOMPARE(a.sync.status().queued, 1);
        QCOMPARE(a.sync.status().text().section(", ", 1), "1 change waiting");
        QCOMPARE(a.planned.size(), planned + 1);
        QVERIFY(a.planned.back().first < std::chrono::minutes(1));
        QSignalSpy finished(&a.sync, &CalDavSync::syncFinished);
        a.planned.back().second();
        QVERIFY(finished.wait(60000));
        QCOMPARE(a.sync.status().queued, 0);
    }

    // Servers and accounts refused, each with its reason.
    void hostileReplies_data()
    {
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<QString>("error");
        const QByteArray xml = "Content-Type: application/xml\r\n";
        QTest::newRow("wrong password") << response("401 Unauthorized", "WWW-Authenticate: Basic realm=\"x\"\r\n", "")
                                        << "401";
        QTest::newRow("bad XML") << response("207 Multi-Status", xml, "<multistatus xmlns=\"DAV:\"><response><href>/</href></multistatus>")
                                 << "not well-formed";
        QTest::newRow("DTD") << response("207 Multi-Status", xml, "<?xml version=\"1.0\"?><!DOCTYPE m [<!ENTITY a \"aaaa\">]><multistatus xmlns=\"DAV:\">&a;</multistatus>")
                             << "DTD";
        QTest::newRow("oversize") << response("207 Multi-Status", xml, QByteArray(300 * 1024, ' ')) << "larger than";
        QTest::newRow("redirect away") << response("301 Moved", "Location: http://127.0.0.2:9/steal\r\n", "") << "another host";
        QTest::newRow("not WebDAV") << response("200 OK", "Content-Type: text/html\r\n", "<html><body>hi</body></html>")
                                    << "not a WebDAV multistatus";
        // No reply: an account on another machine over plain http, refused before any request.
        QTest::newRow("plain http elsewhere") << QByteArray() << "plain http";
    }
    void hostileReplies()
    {
        QFETCH(QByteArray, reply);
        QFETCH(QString, error);
        CannedServer canned(reply);
        Peer peer(*server);
        peer.sync.setReplyLimit(256 * 1024);
        peer.sync.setAccount({reply.isEmpty() ? QUrl("http://calendar.example.org/")
                                              : QUrl(QString("http://127.0.0.1:%1/").arg(canned.serverPort())),
                              server->user});
        peer.sync.setPassword(server->password);
        QSignalSpy failed(&peer.sync, &CalDavSync::discoveryFailed);
        peer.sync.discover();
        QVERIFY(!failed.isEmpty() || failed.wait(20000));
        const QString message = failed.first().first().toString();
        QVERIFY2(message.contains(error) && !message.contains(server->password), qPrintable(message)); // never shown
        QCOMPARE(peer.network.requests.isEmpty(), reply.isEmpty());
    }

    // A certificate the system does not trust ends the sync, with the reason.
    void untrustedCertificate()
    {
        QTemporaryDir dir;
        QProcess openssl;
        openssl.start("openssl", {"req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", dir.filePath("key.pem"), "-out",
                                  dir.filePath("cert.pem"), "-days", "1", "-subj", "/CN=127.0.0.1"});
        if (!openssl.waitForFinished(60000) || openssl.exitCode() != 0)
            QSKIP("openssl cannot make a certificate here");
        QFile key(dir.filePath("key.pem"));
        QVERIFY(key.open(QIODevice::ReadOnly));
        QSslConfiguration config = QSslConfiguration::defaultConfiguration();
        config.setLocalCertificate(QSslCertificate::fromPath(dir.filePath("cert.pem")).value(0));
        config.setPrivateKey(QSslKey(&key, QSsl::Rsa));
        QSslServer tls;
        tls.setSslConfiguration(config);
        QVERIFY(tls.listen(QHostAddress::LocalHost, 0));

        Peer peer(*server);
        peer.sync.setAccount({QUrl(QString("https://127.0.0.1:%1/").arg(tls.serverPort())), server->user});
        peer.sync.setPassword(server->password);
        QSignalSpy failed(&peer.sync, &CalDavSync::discoveryFailed);
        peer.sync.discover();
        QVERIFY(failed.wait(20000));
        const QString error = failed.first().first().toString();
        QVERIFY2(error.contains("secure connection") && error.contains("self-signed", Qt::CaseInsensitive), qPrintable(error));
    }

    // Another client, Debian's python3-caldav, on the same calendar.
    void interop()
    {
        const QString python = "/usr/bin/python3";
        QProcess probe;
        probe.start(python, {"-c", "import caldav"});
        if (!probe.waitForFinished(30000) || probe.exitCode() != 0)
            QSKIP("/usr/bin/python3 lacks caldav (Debian package python3-caldav)");
        const auto run = [&](const QStringList &args) {
            QProcess p;
            p.start(python, QStringList{DAYVEX_INTEROP_SCRIPT, server->server().toString(), server->user, server->password,
                                        server->calendar().toString()} + args);
            p.waitForFinished(60000);
            if (p.exitCode() != 0)
                qWarning() << p.readAllStandardError();
            return QString::fromUtf8(p.readAllStandardOutput()).trimmed();
        };
        Peer a(*server);
        run({"write", "py-1", "Written by Python"});
        QVERIFY(a.syncOnce());
        QVERIFY(a.find("Written by Python"));
        run({"write", "py-1", "Changed by Python"});
        QVERIFY(a.syncOnce());
        QVERIFY(a.find("Changed by Python") && !a.find("Written by Python"));

        auto mine = a.add("Uploaded by Dayvex, with a comma; and more", at(2027, 3, 2, 9));
        mine->Tag = "dayvex-1";
        a.store.save();
        QVERIFY(a.syncOnce());
        QCOMPARE(run({"read", "dayvex-1"}), mine->Description);
    }
};

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    if (Radicale::executable().isEmpty()) {
        std::fprintf(stderr, "SKIP: radicale is not installed (Debian package radicale): the CalDAV tests cannot run\n");
        return 77;
    }
    TestCalDavSync test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_caldavsync.moc"
