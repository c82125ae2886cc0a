#include "platform/usb/property_list.h"

#include "support/bytes.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace quorin::usb {
namespace {

using test::Bytes;
using test::bytes;
using test::bytesOf;
using test::repeated;
using test::operator+;

/// A binary property list of these objects, the first of them the top one, with offsets of two
/// bytes and references of one.
Bytes binaryList(const std::vector<Bytes>& objects) {
  const auto twoBytes = [](std::size_t number) {
    return bytes({static_cast<int>(number >> 8U), static_cast<int>(number & 0xFFU)});
  };
  Bytes list = bytesOf("bplist00");
  Bytes offsets;
  for (const auto& object : objects) {
    offsets = offsets + twoBytes(list.size());
    list = list + object;
  }
  const Bytes count = Bytes(6) + twoBytes(objects.size());
  const Bytes table = Bytes(6) + twoBytes(list.size());
  return list + offsets + bytes({0, 0, 0, 0, 0, 0, 2, 1}) + count + Bytes(8) + table;
}

/// { "a": `value` }, with `value` as object 2 and whatever it refers to behind it.
Bytes dictionary(const std::vector<Bytes>& value) {
  std::vector<Bytes> objects = {bytes({0xD1, 1, 2}), bytes({0x51, 'a'})};
  objects.insert(objects.end(), value.begin(), value.end());
  return binaryList(objects);
}

Bytes xml(const std::string& value) {
  return bytesOf("<plist version=\"1.0\"><dict><key>a</key>" + value + "</dict></plist>");
}

TEST(PropertyList, IsReadWhenItIsADictionaryAndCheap) {
  const Bytes number = bytes({0x10, 7});
  const Bytes good = dictionary({number});
  std::vector<Bytes> doubling;  // arrays, each of which holds the next one twice
  for (int i = 3; i < 43; ++i) doubling.push_back(bytes({0xA2, i, i}));
  doubling.push_back(bytes({0x09}));
  const auto trailer = good.size() - 32;
  const auto with = [&](std::size_t at, int value) {
    auto wrong = good;
    wrong[at] = static_cast<std::byte>(value);
    return wrong;
  };
  const struct {
    const char* name;
    Bytes list;
    bool isRead;
  } cases[] = {
      {"a number", good, true},
      {"an array", dictionary({bytes({0xAF, 0x10, 2, 3, 3}), number}), true},
      {"arrays that share an empty one",
       dictionary({bytes({0xA3, 3, 3, 4}), bytes({0xA0}), bytes({0xA1, 3})}), true},
      {"a Boolean", dictionary({bytes({0x09})}), true},
      {"a null", dictionary({bytes({0x00})}), false},
      {"no dictionary", binaryList({bytes({0xA0})}), false},
      {"would fill the memory", dictionary(doubling), false},
      {"contains itself", dictionary({bytes({0xA1, 2})}), false},
      {"the same large text often",
       dictionary({bytes({0xAF, 0x11, 4, 0}) + Bytes(1024, std::byte{3}),
                   bytes({0x5F, 0x11, 4, 0}) + Bytes(1024, std::byte{'x'})}),
       false},
      {"a text with NUL", dictionary({bytes({0x51, 0})}), false},
      {"offsets of no byte", with(trailer + 6, 0), false},
      {"more objects than bytes", with(trailer + 14, 1), false},
      {"nothing", {}, false},
      {"no list", bytesOf("hello"), false},
      {"XML", xml("<true/>"), true},
      {"cut XML", bytesOf("<plist version=\"1.0\"><dict><key>a"), false},
      {"an XML array", bytesOf("<plist><array/></plist>"), false},
      {"deep XML", xml(repeated("<array>", 600) + repeated("</array>", 600)), false},
      {"XML of many nodes", xml("<array>" + repeated("<true/>", 1500) + "</array>"), false},
      {"XML of many escapes", xml("<string>" + repeated("&lt;", 300) + "</string>"), false},
      {"XML with an escaped NUL", xml("<string>&#0;</string>"), false},
  };
  for (const auto& row : cases) {
    EXPECT_EQ(readPropertyList(row.list) != nullptr, row.isRead) << row.name;
  }
}

}  // namespace
}  // namespace quorin::usb
