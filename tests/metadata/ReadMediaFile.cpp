// Reads the metadata of the last file that is named, and opens it for decoding, between two calls that a
// tracer sees. The others are read before that, so that what is loaded once and for all is loaded.

#include "decoder/DecoderModule.h"
#include "metadata/Artwork.h"
#include "metadata/MediaAsset.h"

#include <QCoreApplication>
#include <unistd.h>

namespace {

void readFile(const QUrl &url)
{
    const MediaAsset asset = readMedia(url);
    const auto pictures = metadataItems(asset.commonMetadata, CommonIdentifier::Artwork);
    if (!pictures.isEmpty())
        Artwork::decode(*pictures.first().dataValue, url);
}

void openDecoder(const QUrl &url)
{
    auto module = DecoderModule::load();
    auto file = openRegularFile(url);
    if (module.isError() || file.isError())
        qFatal("The decoder module or the file is missing.");
    (void)module.value()->open(file.take(), nullptr);
}

void mark(const char *name)
{
    (void)access(name, F_OK);
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    for (int i = 1; i < argc; ++i) {
        if (i == argc - 1)
            mark("reading begins");
        const QUrl url = QUrl::fromLocalFile(QString::fromLocal8Bit(argv[i]));
        readFile(url);
        openDecoder(url);
    }
    mark("reading ends");
}
