#pragma once

#include "decoder/DecoderModule.h"

/// Reads what the container in `file` says about itself, without decoding it.
ProbedMedia probeMedia(FileDescriptor file);
