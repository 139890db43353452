#include "files/Sandbox.h"
#include "tests/TestProgram.h"
#include "tests/files/FakeSandbox.h"

#include <QTemporaryDir>
#include <QTemporaryFile>
#include <memory>
#include <sys/xattr.h>
#include <unistd.h>

namespace {

constexpr const char *Attribute = "user.document-portal.host-path";

} // namespace

class SandboxTest : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<FakeSandbox> m_sandbox;
    QTemporaryDir m_folder;
    QTemporaryFile m_file{m_folder.filePath(QStringLiteral("XXXXXX"))};

    [[nodiscard]] QByteArray hostPath(const QByteArray &path) const
    {
        return documentHostPath(path, m_file.handle());
    }

    /// As a portal does.
    void tell(const QByteArray &path)
    {
        QCOMPARE(fsetxattr(m_file.handle(), Attribute, path.constData(), size_t(path.size()), 0), 0);
    }

private Q_SLOTS:
    void init()
    {
        qputenv("XDG_RUNTIME_DIR", "/r");
        m_sandbox = std::make_unique<FakeSandbox>();
        QVERIFY(m_file.open());
        tell("/home/u/a.mp3");
    }

    void cleanup() { m_sandbox.reset(); }

    void portalTellsWhereADocumentLies()
    {
        const QByteArray own = "/run/user/" + QByteArray::number(getuid());
        for (const QByteArray &folder : {own, QByteArray("/r"), QByteArray("/run/flatpak")})
            QCOMPARE(hostPath(folder + "/doc/1a2b/a.mp3"), "/home/u/a.mp3"_ba);
    }

    void nullAtTheEndIsNotPartOfThePath()
    {
        tell(QByteArray("/m/\xff.mp3\0", 9));
        QCOMPARE(hostPath("/r/doc/1a2b/a.mp3"), "/m/\xff.mp3"_ba);
    }

    void portalThatDoesNotTellLeavesThePathOpen()
    {
        QCOMPARE(fremovexattr(m_file.handle(), Attribute), 0);
        QCOMPARE(hostPath("/r/doc/1a2b/a.mp3"), QByteArray());
    }

    void otherFilesLieWhereTheyAre()
    {
        for (const char *path :
            {"/r/a.mp3", "/r/documents/a.mp3", "/home/u/doc/a.mp3", "/run/user/doc/a.mp3"})
            QCOMPARE(hostPath(path), QByteArray());
    }

    void outsideASandboxNothingIsADocument()
    {
        m_sandbox.reset();
        QCOMPARE(hostPath("/r/doc/1a2b/a.mp3"), QByteArray());
    }
};

LUMAVERDINE_TEST(SandboxTest)
#include "SandboxTest.moc"
