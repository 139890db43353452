#pragma once

#include <cstddef>
#include <cstdint>

/// What a fuzzer calls with every input, by the name that libFuzzer looks for. Anything but returning 0 in
/// reasonable time is a finding.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);
