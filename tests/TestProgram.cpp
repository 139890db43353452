#include "tests/TestProgram.h"

#include <cstdio>
#include <map>
#include <string_view>
#ifdef QT_WIDGETS_LIB
#include <QApplication>
using Application = QApplication;
#else
#include <QGuiApplication>
using Application = QGuiApplication;
#endif

namespace {

/// Filled before main().
std::map<std::string_view, TestProgram::Run> &runs()
{
    static std::map<std::string_view, TestProgram::Run> instance;
    return instance;
}

} // namespace

bool TestProgram::add(const char *name, Run run)
{
    return runs().emplace(name, run).second;
}

int main(int argc, char *argv[])
{
    const auto run = argc > 1 ? runs().find(argv[1]) : runs().end();
    if (run == runs().end()) {
        for (const auto &[name, function] : runs())
            std::puts(name.data());
        return 2;
    }
    argv[1] = argv[0];
    --argc;
    ++argv;
    QCoreApplication::setAttribute(Qt::AA_Use96Dpi); // as Qt Test's own main() does
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere"); // not the desktop of who runs it
    const Application application(argc, argv);
    return run->second(argc, argv);
}
