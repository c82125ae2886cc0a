#pragma once

#include <cstddef>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Bytes as tests write them down.
namespace quorin::test {

using Bytes = std::vector<std::byte>;

inline Bytes bytes(std::initializer_list<int> values) {
  Bytes result;
  for (const int value : values) result.push_back(static_cast<std::byte>(value));
  return result;
}

inline Bytes bytesOf(std::string_view text) {
  const auto view = std::as_bytes(std::span(text));
  return {view.begin(), view.end()};
}

inline Bytes toBytes(std::span<const std::byte> view) {
  return {view.begin(), view.end()};
}

inline Bytes operator+(Bytes left, const Bytes& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

inline std::string repeated(std::string_view text, std::size_t times) {
  std::string result;
  while (times-- > 0) result += text;
  return result;
}

}  // namespace quorin::test
