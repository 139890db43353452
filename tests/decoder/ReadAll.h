#pragma once

#include "decoder/Decoder.h"

#include <vector>

/// The samples from where the decoder stands to the end, or to where it fails.
inline std::vector<float> readAll(Decoder &decoder)
{
    std::vector<float> samples;
    for (;;) {
        const auto block = decoder.read();
        if (block.isError() || block.value().samples.empty())
            return samples;
        samples.insert(samples.end(), block.value().samples.begin(), block.value().samples.end());
    }
}
