#pragma once

#include <QStringView>

// What the decoder opens, for a file dialog: no playlists, MIDI or modules.

/// How the names of such files end.
constexpr QStringView AudioFileEndings =
    u"aa3 aac ac3 adts aif aifc aiff aiffc amr ape at3 au awb axa caf dff dsf dts dtshd ec3 eac3 f4a f4b "
    u"flac loas m4a m4b m4r mka mlp mp+ mp1 mp2 mp3 mpc mpga mpp oga ogg oma opus ra shn snd sox spx tak "
    u"thd tta voc w64 wav weba wma wv xwma";

/// Their types in the shared MIME database, as far as it knows them.
constexpr QStringView AudioFileTypes =
    u"application/x-shorten audio/AMR audio/AMR-WB audio/aac audio/ac3 audio/annodex audio/basic "
    u"audio/eac3 audio/flac audio/mp2 audio/mp4 audio/mpeg audio/ogg audio/usac audio/vnd.dts "
    u"audio/vnd.dts.hd audio/vnd.rn-realaudio audio/vnd.wave audio/webm audio/x-aifc audio/x-aiff "
    u"audio/x-ape audio/x-caf audio/x-dff audio/x-dsf audio/x-flac+ogg audio/x-m4b audio/x-m4r "
    u"audio/x-matroska audio/x-ms-wma audio/x-musepack audio/x-opus+ogg audio/x-speex audio/x-speex+ogg "
    u"audio/x-tta audio/x-voc audio/x-vorbis+ogg audio/x-wav audio/x-wavpack";
