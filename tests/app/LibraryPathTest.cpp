#include "tests/TestProgram.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;

namespace {

const QString module = u"liblumaverdine-decoder.so"_s;

struct Run {
    int exitCode = -1;
    QString output;
};

Run run(const QString &program, const QStringList &arguments, const QString &folder)
{
    QProcess process;
    process.setWorkingDirectory(folder);
    process.start(program, arguments);
    if (!process.waitForFinished() || process.exitStatus() != QProcess::NormalExit)
        return {};
    return {process.exitCode(), QString::fromLocal8Bit(process.readAllStandardOutput())};
}

/// Whether the program at `path` finds its decoder module when it is started in `folder`.
bool decodes(const QString &path, const QString &folder)
{
    return run(path, {QStringLiteral(TEST_MEDIA "/core.caf")}, folder).exitCode == 0;
}

/// The names under which the program or library at `path` asks for others.
QStringList neededLibraries(const QString &path)
{
    QStringList names{module};
    for (const QString &line : run(u"ldd"_s, {path}, u"/"_s).output.split(u'\n')) {
        const QString name = line.section(u"=>"_s, 0, 0).trimmed();
        if (line.contains(u"=>"_s))
            names.append(name);
    }
    return names;
}

bool isNative(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly)
        && file.read(4)
        == "\x7f"
           "ELF";
}

/// Every program and library that lies in `folder`.
QStringList nativeFiles(const QString &folder)
{
    QStringList paths;
    for (const QFileInfo &file : QDir(folder).entryInfoList(QDir::Files)) {
        if (file.isExecutable() && isNative(file.filePath()))
            paths.append(file.filePath());
    }
    return paths;
}

} // namespace

/// Which libraries are loaded depends on where the program lies, not on where it is started.
class LibraryPathTest : public QObject {
    Q_OBJECT

private:
    /// A folder with something else under each of these names.
    struct PlantedFolder {
        QTemporaryDir folder;

        explicit PlantedFolder(const QStringList &names)
        {
            for (const QString &name : names)
                QFile::copy(QStringLiteral(PLANTED_LIBRARY), folder.filePath(name));
        }
    };

    static void verifyNothingIsFoundIn(const QTemporaryDir &folder, const QString &path)
    {
        const Run listed = run(u"ldd"_s, {path}, folder.path());
        QCOMPARE(listed.exitCode, 0);
        for (const QString &line : listed.output.split(u'\n', Qt::SkipEmptyParts)) {
            const QString found = line.section(u"=>"_s, -1).trimmed(); // a bare name comes from this folder
            const bool isSafe = (found.startsWith(u'/') && !found.startsWith(folder.path()))
                || found.startsWith(u"linux-vdso"_s);
            QVERIFY2(isSafe, qPrintable(path + u": "_s + line));
        }
    }

private Q_SLOTS:
    void programsTakeNoLibraryFromTheCurrentFolder()
    {
        const QStringList paths = nativeFiles(QCoreApplication::applicationDirPath());
        QVERIFY(paths.size() >= 4); // the player, its module, a helper, this test
        for (const QString &path : paths)
            verifyNothingIsFoundIn(PlantedFolder(neededLibraries(path)).folder, path);
    }

    void moduleIsTakenFromBesideTheProgramOnly()
    {
        const QString program = QStringLiteral(READ_MEDIA_FILE);
        const PlantedFolder planted(neededLibraries(program));
        QVERIFY(decodes(program, planted.folder.path()));
        QVERIFY(decodes(program, u"/"_s));

        QVERIFY(QFile::link(program, planted.folder.filePath(u"link"_s)));
        QVERIFY(decodes(planted.folder.filePath(u"link"_s), planted.folder.path()));

        QVERIFY(QFile::copy(program, planted.folder.filePath(u"copy"_s)));
        QVERIFY(!decodes(planted.folder.filePath(u"copy"_s), u"/"_s));
    }

    void installedProgramFindsItsModule()
    {
        const QTemporaryDir prefix;
        const QStringList install{
            u"--install"_s, QCoreApplication::applicationDirPath(), u"--prefix"_s, prefix.path()};
        QCOMPARE(run(QStringLiteral(CMAKE), install, u"/"_s).exitCode, 0);
        const QDir programs(prefix.filePath(u"bin"_s));
        const QDir library(QFileInfo(programs.filePath(u"lumaverdine"_s)).canonicalPath());
        QVERIFY(library.path().startsWith(prefix.path() + u"/lib"_s));

        // Another program in the player's place and with its name shows what the player finds.
        QVERIFY(QFile::remove(library.filePath(u"lumaverdine"_s)));
        QVERIFY(QFile::copy(QStringLiteral(READ_MEDIA_FILE), library.filePath(u"lumaverdine"_s)));
        const PlantedFolder planted(neededLibraries(QStringLiteral(READ_MEDIA_FILE)));
        QVERIFY(decodes(programs.filePath(u"lumaverdine"_s), planted.folder.path()));
        for (const QString &path : nativeFiles(library.path()))
            verifyNothingIsFoundIn(planted.folder, path);
    }
};

LUMAVERDINE_TEST(LibraryPathTest)
#include "LibraryPathTest.moc"
