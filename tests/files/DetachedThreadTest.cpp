#include "files/DetachedThread.h"
#include "tests/TestProgram.h"

#include <QElapsedTimer>
#include <pthread.h>

using namespace std::chrono_literals;

class DetachedThreadTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void itIsDeepEnough()
    {
        const auto found = callWithTimeout([] {
            pthread_attr_t attributes;
            pthread_getattr_np(pthread_self(), &attributes);
            std::pair<int, std::size_t> values;
            pthread_attr_getdetachstate(&attributes, &values.first);
            pthread_attr_getstacksize(&attributes, &values.second);
            pthread_attr_destroy(&attributes);
            return values;
        });
        QCOMPARE(found->first, int(PTHREAD_CREATE_DETACHED));
        QCOMPARE(found->second, std::size_t(8 * 1024 * 1024));
    }

    void callIsWaitedForForThreeSeconds()
    {
        const auto end = std::make_shared<std::promise<int>>();
        std::promise<int> ended;
        auto result = ended.get_future();
        QElapsedTimer timer;
        timer.start();
        QVERIFY(!callWithTimeout([end, &ended] {
            ended.set_value(end->get_future().get());
            return true;
        }));
        QVERIFY(timer.elapsed() >= 3000);
        QVERIFY2(timer.elapsed() < 3500, qPrintable(QString::number(timer.elapsed())));
        end->set_value(7);
        QCOMPARE(result.get(), 7); // it has gone on
    }
};

LUMAVERDINE_TEST(DetachedThreadTest)
#include "DetachedThreadTest.moc"
