#pragma once

#include "platform/audio/converter.h"

namespace quorin::audio {

/// `makeSampleConverter`, by libswresample.
std::unique_ptr<SampleConverter> makeSwrConverter(const Format& from, const Format& to);

}  // namespace quorin::audio
