#include <QBuffer>
#include <QDateTime>
#include <QDir>
#include <QImage>
#include <QSignalSpy>
#include <QTest>

#include "api/session/session.h"
#include "net/scripted_server.h"
#include "player/clips.h"
#include "session/drive_fixture.h"
#include "support/fault_on.h"
#include "support/test_main.h"
#include "ui/pictures/picture.h"
#include "ui/pictures/thumbnails.h"

namespace {

QByteArray encoded(const QSize &size, const char *format)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::darkGreen);
    QBuffer buffer;
    image.save(&buffer, format);
    return buffer.data();
}

// A sound picture whose head speaks of so many pixels.
QByteArray claiming(quint16 side)
{
    QByteArray bytes = encoded({64, 64}, "jpeg");
    const int frame = bytes.indexOf("\xff\xc0");
    for (const int place : {frame + 5, frame + 7}) {
        bytes[place] = char(side >> 8);
        bytes[place + 1] = char(side & 0xff);
    }
    return bytes;
}

std::vector<WantedThumbnail> files(const QString &address, int count)
{
    std::vector<WantedThumbnail> wanted;
    for (int number = 0; number < count; ++number) {
        wanted.push_back({QString("f%1").arg(number), address});
    }
    return wanted;
}

} // namespace

class TestThumbnails final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_drive =
            std::make_unique<DriveFixture>(1, localdrive::Rules::strict(), /*withThumbnails=*/true);
        m_user = m_drive->logIn();
    }
    void cleanup() { m_drive.reset(); }

    void readsWhatThumbnailsAre_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QSize>("size");
        const QByteArray small = encoded({100, 50}, "jpeg");
        QTest::newRow("small") << small << QSize(100, 50);
        QTest::newRow("wide") << encoded({180, 100}, "jpeg") << QSize(128, 71);
        QTest::newRow("high") << encoded({90, 256}, "png") << QSize(45, 128);
        QTest::newRow("of as many pixels as can be")
            << encoded({1024, 1024}, "png") << QSize(128, 128);
        QTest::newRow("of more pixels") << encoded({1025, 1024}, "png") << QSize();
        QTest::newRow("of far more pixels in its head") << claiming(8192) << QSize();
        QTest::newRow("of another format") << encoded({100, 50}, "bmp") << QSize();
        QTest::newRow("not even begun") << small.left(20) << QSize();
        QTest::newRow("text") << QByteArray("<html>404</html>") << QSize();
        QTest::newRow("nothing") << QByteArray() << QSize();
    }
    void readsWhatThumbnailsAre()
    {
        QFETCH(QByteArray, bytes);
        const QImage picture = readPicture(bytes, Thumbnails::LargestSize);
        QTEST(picture.isNull() ? QSize() : picture.size(), "size");
    }

    void theDriveServesThem()
    {
        const QDir root(text(m_drive->server().rootPath()));
        QVERIFY(clips::make(root.filePath("film.mkv")));
        const QString id = text(m_drive->server().fileId("film.mkv"));
        Thumbnails thumbnails;
        const QSignalSpy arrived(&thumbnails, &Thumbnails::arrived);
        thumbnails.setUser(m_user);
        thumbnails.want({{id, QString()}});
        QTRY_COMPARE_WITH_TIMEOUT(arrived.size(), 1, 30000);
        QCOMPARE(thumbnails.picture(id).width(), 128);
        thumbnails.want({});
        thumbnails.want({{id, QString()}}); // it is here already
        QCOMPARE(m_drive->requests("/adrive/v1.0/openFile/get").size(), std::size_t(1));
        thumbnails.setUser(UserInfo());
        QVERIFY(thumbnails.picture(id).isNull());
    }

    void goesForEachAddressOnceMore_data()
    {
        QTest::addColumn<QString>("path"); // of the address that the list has
        QTest::addColumn<bool>("comes");
        QTest::addColumn<QStringList>("asked"); // in turn; "get": the drive, for the record
        const QString past = QString::number(QDateTime::currentSecsSinceEpoch() - 5);
        const QString future = QString::number(QDateTime::currentSecsSinceEpoch() + 500);
        QTest::newRow("good") << "/good" << true << QStringList{"/good"};
        QTest::newRow("not expired") << "/good?x-oss-expires=" + future << true
                                     << QStringList{"/good?x-oss-expires=" + future};
        QTest::newRow("expired long ago")
            << "/good?x-oss-expires=" + past << true << QStringList{"get", "/new"};
        QTest::newRow("refused") << "/403" << true << QStringList{"/403", "get", "/new"};
        QTest::newRow("gone") << "/410" << true << QStringList{"/410", "get", "/new"};
        QTest::newRow("not found") << "/404" << false << QStringList{"/404"};
        QTest::newRow("moved") << "/302" << false << QStringList{"/302"};
        QTest::newRow("too long") << "/long" << false << QStringList{"/long"};
        QTest::newRow("no picture") << "/text" << false << QStringList{"/text"};
        QTest::newRow("refused twice")
            << "/403?twice" << false << QStringList{"/403?twice", "get", "/403?twice"};
        QTest::newRow("no address of the web") << "file:///etc/hostname" << false << QStringList();
    }
    void goesForEachAddressOnceMore()
    {
        QFETCH(QString, path);
        QFETCH(bool, comes);
        QStringList asked;
        ScriptedServer server([&asked](const ReceivedRequest &request) {
            const QByteArray target = request.target;
            asked << QString::fromLatin1(target);
            if (target.startsWith("/good") || target == "/new") {
                return answer("200 OK", encoded({100, 50}, "jpeg"));
            }
            if (target == "/long") {
                return answer("200 OK", encoded({100, 50}, "jpeg") + QByteArray(600'000, 'x'));
            }
            return target == "/text" ? answer("200 OK", "<html>")
                                     : answer(target.mid(1, 3) + " No", "no");
        });
        const bool twice = path.endsWith("twice");
        const QString record =
            QString(R"({"thumbnail": "%1"})").arg(server.url(twice ? path : "/new"));
        m_drive->server().addFault(
            FaultOn("openFile/get").always().status(200).body(record.toStdString()));
        const QString address = path.startsWith('/') ? server.url(path) : path;
        Thumbnails thumbnails;
        const QSignalSpy arrived(&thumbnails, &Thumbnails::arrived);
        thumbnails.setUser(m_user);
        thumbnails.want({{"f", address}, {"good", server.url("/good?last")}});
        QTRY_COMPARE(arrived.size(), comes ? 2 : 1);
        QTRY_VERIFY(thumbnails.isIdle());
        QCOMPARE(thumbnails.picture("f").isNull(), !comes);
        // What cannot be had is not asked for again.
        thumbnails.want({{"f", address}});
        QVERIFY(thumbnails.isIdle());
        asked.removeAll("/good?last");
        if (!m_drive->requests("/adrive/v1.0/openFile/get").empty()) {
            asked.insert(asked.size() - 1, "get");
        }
        QTEST(asked, "asked");
    }

    void fetchesFourAtATimeAndOnlyWhatIsWanted()
    {
        ScriptedServer server([](const ReceivedRequest &) { return ScriptedAnswer(); });
        Thumbnails thumbnails;
        thumbnails.setUser(m_user);
        thumbnails.want(files(server.url("/held"), 6));
        QTRY_COMPARE(server.openConnections(), 4);
        thumbnails.want({{"f3", server.url()}, {"f5", server.url("/f5")}});
        QTRY_COMPARE(server.requests().size(), 5);
        QCOMPARE(server.requests().last().target, QByteArray("/f5"));
        QTRY_COMPARE(server.openConnections(), 2);
        thumbnails.want({});
        QTRY_COMPARE(server.openConnections(), 0);
    }

    // The drive counts the calls of a second.
    void asksTheDriveForOneRecordAtATime()
    {
        m_drive->server().addFault(FaultOn("openFile/get").times(1).holds());
        Thumbnails thumbnails;
        thumbnails.setUser(m_user);
        const auto asked = [this] { return m_drive->requests("/adrive/v1.0/openFile/get").size(); };
        thumbnails.want(files(QString(), 3));
        QTRY_COMPARE(asked(), std::size_t(1));
        thumbnails.want({{"f1", QString()}, {"f2", QString()}});
        QTRY_COMPARE(asked(), std::size_t(3));
        QTRY_VERIFY(thumbnails.isIdle());
        m_drive->server().clearFaults();
    }

    // The last one: from then on the user is held back, who is the same in each test.
    void asksAgainWhenNobodyElseWaits()
    {
        ScriptedServer server([](const ReceivedRequest & /*request*/) {
            return answer("200 OK", encoded({100, 50}, "jpeg"));
        });
        const QString record = QString(R"({"thumbnail": "%1"})").arg(server.url());
        m_drive->server().addFault(FaultOn("openFile/get").status(429, "TooManyRequests"));
        m_drive->server().addFault(FaultOn("openFile/get").status(200).body(record.toStdString()));
        Session::instance().pacing().hold(m_user.userId.value(), "any", std::chrono::seconds(1));
        Thumbnails thumbnails;
        thumbnails.setUser(m_user);
        thumbnails.want({{"f", QString()}});
        OpenApiClient(m_user).spaceInfo({}, {});
        QTRY_VERIFY(!thumbnails.picture("f").isNull());
        QStringList asked;
        for (const localdrive::RequestRecord &request : m_drive->server().requests()) {
            asked << text(request.path).section('/', -1);
        }
        QCOMPARE(asked.join(' '), "getSpaceInfo get get");
    }

private:
    std::unique_ptr<DriveFixture> m_drive;
    UserInfo m_user;
};

MORAVU_TEST(TestThumbnails)
#include "tst_thumbnails.moc"
