#include "platform/audio/audio_backend.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cstdio>

namespace quorin::audio {
namespace {

/// What the dynamic loader ends a program with that lacks a library.
constexpr int kLibraryMissing = 127;

template <typename Backend>
const Backend& load(const char* file) {
  // Without a folder: looked for where the program was built or installed to look.
  void* const plugin = ::dlopen(file, RTLD_LAZY | RTLD_LOCAL);
  void* const backend = plugin != nullptr ? ::dlsym(plugin, Backend::kSymbol) : nullptr;
  if (backend == nullptr) {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): the text is the calling thread's own
    const char* const reason = ::dlerror();
    std::fprintf(stderr,
                 "A part of Quorin Stream is missing or broken: start it again, and if that does "
                 "not help, install it again. (%s)\n",
                 reason);
    ::_exit(kLibraryMissing);
  }
  return *static_cast<const Backend*>(backend);
}

}  // namespace

const AudioBackend& audioBackend() {
  static const auto& backend = load<AudioBackend>(QUORIN_AUDIO_PLUGIN);
  return backend;
}

const ResamplerBackend& resamplerBackend() {
  static const auto& backend = load<ResamplerBackend>(QUORIN_RESAMPLER_PLUGIN);
  return backend;
}

std::unique_ptr<SampleConverter> makeSampleConverter(const Format& from, const Format& to) {
  return resamplerBackend().makeSampleConverter(from, to);
}

}  // namespace quorin::audio
