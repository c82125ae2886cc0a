#include "quorin-listen/outputs.h"

#include "measure/sound_format.h"

namespace quorin::listen {

std::expected<Outputs, std::string> Outputs::open(const Options& options) {
  Outputs outputs;
  if (options.play) {
    auto playback = Playback::open(options.sink);
    if (!playback) return std::unexpected(std::move(playback.error()));
    outputs.playback_ = std::move(*playback);
  }
  if (options.wav) {
    // Created at once, so that a wrong path is told before the listening and not after it.
    auto writer = measure::WavWriter::create(*options.wav, measure::SampleFormat::kInt16);
    if (!writer) return std::unexpected(std::move(writer.error()));
    outputs.wavPath_ = options.wav;
    outputs.wav_ = std::move(*writer);
  }
  if (options.arrivals) {
    outputs.arrivals_.emplace(*options.arrivals);
    if (!*outputs.arrivals_) {
      return std::unexpected("Cannot write " + *options.arrivals +
                             ". Choose another place for the file.");
    }
  }
  return outputs;
}

std::expected<void, std::string> Outputs::add(const Sound& sound, std::span<const float> samples) {
  if (playback_) playback_->push(samples);
  // Line by line: others follow the file while it grows.
  if (arrivals_) *arrivals_ << sound.arrived.count() << ' ' << samples.size() << '\n' << std::flush;
  if (!wav_) return {};
  // A stream keeps its format; one that changes it starts the file anew rather than spoil it.
  const auto format = measure::formatOfLength(sound.bytes.size());
  if (format && *format != wav_->format()) {
    auto writer = measure::WavWriter::create(*wavPath_, *format);
    if (!writer) return std::unexpected(std::move(writer.error()));
    wav_ = std::move(*writer);
  }
  if (!wav_->append(sound.bytes)) {
    return std::unexpected("Cannot write to " + *wavPath_ + " any more: is the disk full?");
  }
  return {};
}

}  // namespace quorin::listen
