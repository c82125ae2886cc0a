#include "usb/device_information.h"

#include "support/bytes.h"

#include <gtest/gtest.h>
#include <plist/plist.h>

#include <cstdlib>
#include <functional>
#include <memory>
#include <string>

namespace quorin::usb {
namespace {

using test::Bytes;
using test::bytes;
using test::bytesOf;
using test::operator+;

struct Free {
  void operator()(char* memory) const { std::free(memory); }
};

Bytes encode(plist_t node, bool binary) {
  char* text = nullptr;
  std::uint32_t length = 0;
  binary ? plist_to_bin(node, &text, &length) : plist_to_xml(node, &text, &length);
  const std::unique_ptr<char, Free> owner(text);
  plist_free(node);
  return bytesOf({text, length});
}

plist_t phone() {
  const auto phone = plist_new_dict();
  plist_dict_set_item(phone, "name", plist_new_string("Ana's phone"));
  plist_dict_set_item(phone, "model", plist_new_string("Phone"));
  plist_dict_set_item(phone, "isReady", plist_new_bool(1));
  plist_dict_set_item(phone, "scale", plist_new_real(2.5));
  plist_dict_set_item(phone, "token", plist_new_data("\x01\xAB", 2));
  plist_dict_set_item(phone, "made", plist_new_date(0, 0));
  const auto sizes = plist_new_array();
  plist_array_append_item(sizes, plist_new_uint(320));
  plist_array_append_item(sizes, plist_new_uint(640));
  plist_dict_set_item(phone, "sizes", sizes);
  const auto inner = plist_new_dict();
  plist_dict_set_item(inner, "a \"b\"\n", plist_new_string(""));
  plist_dict_set_item(phone, "other", inner);
  return phone;
}

TEST(DeviceInformation, IsDescribedAlikeFromXmlAndBinary) {
  const std::string expected = R"({
    isReady = 1;
    made = "2001-01-01 00:00:00 +0000";
    model = Phone;
    name = "Ana's phone";
    other = {
        "a \"b\"\012" = "";
    };
    scale = 2.5;
    sizes = (
        320,
        640
    );
    token = <01ab>;
})";
  EXPECT_EQ(describeDeviceInformation(encode(phone(), true)), expected);
  EXPECT_EQ(describeDeviceInformation(encode(phone(), false)), expected);
}

TEST(DeviceInformation, IsNoneUnlessItIsOneDictionary) {
  const auto array = plist_new_array();
  const struct {
    const char* name;
    Bytes payload;
  } cases[] = {
      {"nothing", {}},
      {"no property list", bytesOf("hello")},
      {"an array", encode(array, true)},
      {"cut XML", bytesOf("<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>a")},
      {"only the binary magic", bytesOf("bplist00")},
      {"binary of zeros", bytesOf("bplist00") + Bytes(64)},
      {"a text with NUL", bytesOf("<plist><dict><key>a</key><string>x") + Bytes(1) +
                              bytesOf("y</string></dict></plist>")},
      {"an escaped NUL", bytesOf("<plist><dict><key>&#0;</key><true/></dict></plist>")},
      {"too large", bytesOf("<plist><dict></dict></plist>") + Bytes(kMaxDeviceInformationBytes)},
  };
  for (const auto& row : cases) {
    EXPECT_EQ(describeDeviceInformation(row.payload), std::nullopt) << row.name;
  }
}

TEST(DeviceInformation, LongDescriptionsAreCutBetweenCharacters) {
  const auto phone = plist_new_dict();
  std::string name;
  for (int i = 0; i < 3000; ++i) name += "ñ";
  plist_dict_set_item(phone, "name", plist_new_string(name.c_str()));
  const auto text = describeDeviceInformation(encode(phone, true)).value();
  EXPECT_LT(text.size(), 4200U);
  EXPECT_TRUE(text.ends_with("ñ..."));
}

TEST(DeviceInformation, DeepNestingIsNotFollowedForEver) {
  auto nested = plist_new_dict();
  for (int i = 0; i < 200; ++i) {
    const auto outer = plist_new_dict();
    plist_dict_set_item(outer, "x", nested);
    nested = outer;
  }
  const auto text = describeDeviceInformation(encode(nested, true));
  ASSERT_TRUE(text);
  EXPECT_NE(text->find("..."), std::string::npos);
}

/// `levels` arrays, each of which holds the next one twice, in 10 bytes a level.
Bytes growingList(int levels) {
  Bytes list = bytesOf("bplist00");
  Bytes offsets;
  const auto begin = [&] { offsets = offsets + bytes({static_cast<int>(list.size())}); };
  begin();
  list = list + bytes({0xD1, 1, 2});  // { "a": object 2 }
  begin();
  list = list + bytes({0x51, 'a'});
  for (int i = 0; i < levels; ++i) {
    begin();
    list = list + bytes({0xA2, 3 + i, 3 + i});
  }
  begin();
  list = list + bytes({0x09});
  const int table = static_cast<int>(list.size());
  const int count = static_cast<int>(offsets.size());
  return list + offsets + bytes({0, 0, 0, 0, 0, 0, 1, 1, 0, 0, 0, 0, 0, 0, 0, count,
                                 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, table});
}

TEST(DeviceInformation, AListThatWouldFillTheMemoryIsRefused) {
  EXPECT_TRUE(describeDeviceInformation(growingList(1))) << "the test's own list is well-formed";
  EXPECT_EQ(describeDeviceInformation(growingList(40)), std::nullopt);
}

TEST(DeviceInformation, ABinaryTextWithNulIsRefused) {
  auto list = growingList(1);
  list[8 + 3 + 1] = std::byte{0};  // the key
  EXPECT_EQ(describeDeviceInformation(list), std::nullopt);
}

TEST(DeviceInformation, AListThatContainsItselfIsRefused) {
  auto list = growingList(1);
  list[8 + 3 + 2 + 1] = std::byte{2};  // the array's first item: the array
  EXPECT_EQ(describeDeviceInformation(list), std::nullopt);
  list = growingList(1);
  list[8 + 3 + 2 + 1] = std::byte{0};  // the dictionary
  EXPECT_EQ(describeDeviceInformation(list), std::nullopt);
}

}  // namespace
}  // namespace quorin::usb
