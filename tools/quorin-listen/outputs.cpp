#include "quorin-listen/outputs.h"

#include "measure/sound_format.h"

namespace quorin::listen {
namespace {

std::unexpected<std::string> cannotGoOn(const std::string& path) {
  return std::unexpected("Cannot write to " + path + " any more: is the disk full?");
}

}  // namespace

std::expected<Outputs, std::string> Outputs::open(const Options& options) {
  Outputs outputs;
  if (options.wav) {
    auto writer = measure::WavWriter::open(*options.wav);
    if (!writer) return std::unexpected(std::move(writer.error()));
    outputs.wavPath_ = *options.wav;
    outputs.wav_.emplace(std::move(*writer));
  }
  if (options.arrivals) {
    outputs.arrivalsPath_ = *options.arrivals;
    outputs.arrivals_.reset(std::fopen(options.arrivals->c_str(), "we"));
    if (!outputs.arrivals_) {
      return std::unexpected("Cannot write " + *options.arrivals +
                             ". Choose another place for the file.");
    }
  }
  return outputs;
}

std::expected<void, std::string> Outputs::add(const Sound& sound, std::span<const float> samples) {
  if (arrivals_) {
    const auto line =
        std::to_string(sound.arrived.count()) + ' ' + std::to_string(samples.size()) + '\n';
    std::fputs(line.c_str(), arrivals_.get());
    // Line by line: others follow the file while it grows.
    if (std::fflush(arrivals_.get()) != 0) return cannotGoOn(arrivalsPath_);
  }
  const auto format = measure::formatOfLength(sound.bytes.size());
  if (wav_ && format && !wav_->append(sound.bytes, *format)) return cannotGoOn(wavPath_);
  return {};
}

std::expected<void, std::string> Outputs::finish() {
  if (arrivals_ && std::fclose(arrivals_.release()) != 0) return cannotGoOn(arrivalsPath_);
  if (wav_ && !wav_->finish()) return cannotGoOn(wavPath_);
  return {};
}

}  // namespace quorin::listen
