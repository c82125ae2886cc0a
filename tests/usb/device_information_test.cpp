#include "usb/device_information.h"

#include "support/bytes.h"
#include "usb/binary_plist_check.h"

#include <gtest/gtest.h>
#include <plist/plist.h>

#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <vector>

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
    name = "Ana's phone";
    other = {
        "a \"b\"\012" = "";
    };
    sizes = (
        320,
        640
    );
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
Bytes binaryDictionary(const std::vector<Bytes>& value) {
  std::vector<Bytes> objects = {bytes({0xD1, 1, 2}), bytes({0x51, 'a'})};
  objects.insert(objects.end(), value.begin(), value.end());
  return binaryList(objects);
}

/// `levels` arrays, each of which holds the next one twice.
Bytes growingList(int levels) {
  std::vector<Bytes> objects;
  for (int i = 0; i < levels; ++i) objects.push_back(bytes({0xA2, 3 + i, 3 + i}));
  objects.push_back(bytes({0x09}));
  return binaryDictionary(objects);
}

TEST(DeviceInformation, ABinaryListThatIsNoPlainTreeIsRefused) {
  const Bytes number = bytes({0x10, 7});
  ASSERT_TRUE(isPlainBinaryPlist(growingList(1))) << "the test's own list is well-formed";
  EXPECT_FALSE(isPlainBinaryPlist(growingList(40)));
  ASSERT_TRUE(isPlainBinaryPlist(binaryDictionary({bytes({0xAF, 0x10, 2, 3, 3}), number})));
  const struct {
    const char* name;
    std::vector<Bytes> value;
  } cases[] = {
      {"would fill the memory", {bytes({0xA2, 3, 3}), bytes({0xA2, 4, 4}), bytes({0x09})}},
      {"a text with NUL", {bytes({0x51, 0})}},
      {"a wide text with NUL", {bytes({0x62, 0, 'x', 0, 0})}},
      {"contains itself", {bytes({0xA1, 2})}},
      {"contains what contains it", {bytes({0xA1, 0})}},
      {"refers to what is not there", {bytes({0xA1, 3})}},
      {"a kind that does not exist", {bytes({0x70})}},
      {"longer than the list", {bytes({0x5E, 'x'})}},
      {"a length that is no number", {bytes({0xAF, 0x50}), number}},
      {"a length of 16 bytes", {bytes({0xAF, 0x14}), number}},
      {"a length beyond the end", {bytes({0xAF, 0x13, 0, 0, 0, 1, 0, 0, 0, 0}), number}},
  };
  for (const auto& row : cases) {
    EXPECT_FALSE(isPlainBinaryPlist(binaryDictionary(row.value))) << row.name;
    EXPECT_EQ(describeDeviceInformation(binaryDictionary(row.value)), std::nullopt) << row.name;
  }
}

TEST(DeviceInformation, AContentThatIsReferredToTooOftenIsRefused) {
  // 200 arrays of 30 references to the same 200 bytes are 1.2 MB.
  std::vector<Bytes> value = {bytes({0xAF, 0x10, 200})};
  for (int i = 0; i < 200; ++i) {
    value[0].push_back(static_cast<std::byte>(3 + i));
    value.push_back(bytes({0xAF, 0x10, 30}) + Bytes(30, std::byte{203}));
  }
  value.push_back(bytes({0x5F, 0x10, 200}) + Bytes(200, std::byte{'x'}));
  EXPECT_FALSE(isPlainBinaryPlist(binaryDictionary(value)));
}

TEST(DeviceInformation, ABinaryListWithAWrongTrailerIsRefused) {
  const Bytes list = growingList(1);
  const std::size_t trailer = list.size() - 32;
  const struct {
    const char* name;
    std::size_t at;
    int value;
  } cases[] = {
      {"offsets of no byte", trailer + 6, 0},
      {"offsets of 9 bytes", trailer + 6, 9},
      {"references of no byte", trailer + 7, 0},
      {"references of 9 bytes", trailer + 7, 9},
      {"no object", trailer + 15, 0},
      {"more objects than bytes", trailer + 14, 1},
      {"another top than there is", trailer + 23, 4},
      {"no offset table", trailer + 30, 1},
      {"a cut offset table", trailer + 31, static_cast<int>(list.size())},
      {"an object beyond the end", trailer - 2, 1},
  };
  for (const auto& row : cases) {
    auto wrong = list;
    wrong[row.at] = static_cast<std::byte>(row.value);
    EXPECT_FALSE(isPlainBinaryPlist(wrong)) << row.name;
    EXPECT_EQ(describeDeviceInformation(wrong), std::nullopt) << row.name;
  }
}

TEST(DeviceInformation, ValuesOfEveryKindAreDescribed) {
  const struct {
    const char* name;
    plist_t value;
    std::string text;
  } cases[] = {
      {"true", plist_new_bool(1), "1"},
      {"false", plist_new_bool(0), "0"},
      {"a fraction", plist_new_real(2.5), "2.5"},
      {"a date", plist_new_date(0, 0), "\"2001-01-01 00:00:00 +0000\""},
      {"a word", plist_new_string("Phone"), "Phone"},
      {"an empty text", plist_new_string(""), "\"\""},
      {"a reference", plist_new_uid(77), "77"},
      {"quotation marks and backslashes", plist_new_string("a\"\\"), R"("a\"\\")"},
      {"a control character", plist_new_string("\x7F"), R"("\177")"},
      {"a terminal's control sequence", plist_new_string("\u009B2J"), "\"\uFFFD2J\""},
      {"a negative number", plist_new_uint(static_cast<std::uint64_t>(-7)), "-7"},
      {"data", plist_new_data("0123456789012345678901234567890123456789", 40),
       "<3031323334353637383930313233343536373839303132333435363738393031...>"},
      {"an empty array", plist_new_array(), "(\n    )"},
  };
  for (const auto& row : cases) {
    const auto dictionary = plist_new_dict();
    plist_dict_set_item(dictionary, "a", row.value);
    EXPECT_EQ(describeDeviceInformation(encode(dictionary, true)),
              "{\n    a = " + row.text + ";\n}")
        << row.name;
  }
}

}  // namespace
}  // namespace quorin::usb
