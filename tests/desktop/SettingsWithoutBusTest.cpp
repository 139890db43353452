#include "desktop/SettingsWatcher.h"
#include "tests/TestProgram.h"

using namespace std::chrono_literals;

class SettingsWithoutBusTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void areToldAtOnce()
    {
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere/bus");
        QList<DesktopSettings> told;
        SettingsWatcher watcher;
        watcher.follow([&](const DesktopSettings &settings) { told.append(settings); }, 1h);
        QTRY_COMPARE(told.size(), 1);
        QVERIFY(told[0] == DesktopSettings());
    }
};

LUMAVERDINE_TEST(SettingsWithoutBusTest)
#include "SettingsWithoutBusTest.moc"
