#include "wire/frame.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

/// A byte stream from a hostile phone, delivered in pieces: whatever it is, and however it is
/// cut, the reader keeps its promises, and gives the same frames as when all comes at once.
namespace {

using quorin::wire::FrameHeader;
using quorin::wire::FrameReader;

struct Seen {
  std::vector<FrameHeader> headers;
  std::vector<std::vector<std::byte>> payloads;
  bool hasFailed = false;

  friend bool operator==(const Seen&, const Seen&) = default;
};

void require(bool condition) {
  if (!condition) std::abort();
}

Seen read(std::span<const std::byte> stream, std::size_t pieceSize) {
  FrameReader reader;
  Seen seen;
  while (!stream.empty()) {
    const auto piece = stream.first(std::min(stream.size(), pieceSize));
    reader.received(piece);
    stream = stream.subspan(piece.size());
    for (auto step = reader.next(); step.index() != 0; step = reader.next()) {
      if (const auto* header = std::get_if<FrameReader::Header>(&step)) {
        seen.headers.push_back(*header);
        if (header->type % 7 == 0) reader.skip();
      } else if (const auto* frame = std::get_if<FrameReader::Frame>(&step)) {
        require(frame->payload.size() == frame->header.payloadSize);
        require(frame->header == seen.headers.back());
        seen.payloads.emplace_back(frame->payload.begin(), frame->payload.end());
      } else {
        seen.hasFailed = true;
        break;
      }
    }
    require(reader.capacity() <= std::max(FrameReader::kMaxKept, std::size_t{1} << 25U));
  }
  return seen;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const auto stream = std::as_bytes(std::span(data + 1, size - 1));
  require(read(stream, std::size_t{data[0]} + 1) == read(stream, SIZE_MAX));
  return 0;
}
