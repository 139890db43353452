#include "platform/audio/AudioPlayer.h"

using namespace Qt::StringLiterals;

Result<std::unique_ptr<AudioPlayer>> AudioPlayer::open(const QUrl &)
{
    return Error{u"formato desconocido"_s};
}
