#include "protocol/catalogue.h"

#include <gtest/gtest.h>

#include <cinttypes>
#include <cstdio>
#include <map>
#include <numeric>
#include <random>
#include <set>
#include <sstream>

#include "support/reading.h"

// Compares every class of the catalogue with the table of what it has to be on the wire. All expectations
// come from the table; how integers and strings are encoded has tests of its own.

using namespace morvex;
using namespace protocol;

namespace {

using Fields = std::vector<std::string>;  // in hex

// A class that a field may hold, and its bounds there.
struct Choice {
  std::string of;
  std::int64_t low = INT32_MIN, high = INT32_MAX;
};

struct Place {
  std::string name;
  std::vector<Choice> choices;
  bool isUnion;
};

struct Class {
  std::string name;
  std::uint32_t tag[2];  // by tag set, as is
  std::string identifier[2], wanted;
  std::size_t required;
  std::vector<Place> places;  // the fields of a record, or the one for all elements of a list
  Fields items;               // of a primitive without bounds
  bool isPrimitive() const { return !isConstructed(tag[0]); }
  bool isList() const { return !places.empty() && places[0].name == "of"; }
};

Place placeOf(std::string word) {
  const std::size_t colon = word.find(':');
  Place place{word.substr(0, colon), {}, word.find('|') != std::string::npos};
  std::ranges::replace_if(
      word, [](char c) { return c == '|' || c == ','; }, ' ');
  for (std::istringstream words(word.substr(colon + 1)); words >> word;) {
    Choice& choice = place.choices.emplace_back(Choice{word.substr(0, word.find('['))});
    if (std::sscanf(word.c_str(), "%*[^[][%" SCNd64 "..%" SCNd64, &choice.low, &choice.high) == 1) {
      choice.high = std::exchange(choice.low, 0);
    } else if (word == "u32") {
      choice = {word, 0, UINT32_MAX};
    }
  }
  return place;
}

std::map<std::string, Class> readTable() {
  std::istringstream lines(
#include "protocol/catalogue.txt"
  );
  std::map<std::string, Class> read;
  for (std::string line, word; std::getline(lines, line);) {
    std::istringstream words(line);
    if (words >> word && word != "#") {
      Class& row = read[word];
      row.name = word;
      words >> row.tag[0] >> row.tag[1] >> row.identifier[0] >> row.identifier[1] >> row.wanted >>
          row.required;
      for (const bool isItem = row.isPrimitive(); words >> word;) {
        isItem ? row.items.push_back(plainHex(word) + " ") : row.places.push_back(placeOf(word));
      }
    }
  }
  return read;
}

const std::map<std::string, Class>& table() {
  static const std::map<std::string, Class> classes = readTable();
  return classes;
}

const Class& classOf(const Choice& choice) { return table().at(choice.of); }

std::string refusal(const Class& parent, const Place& place, std::uint32_t tag, bool legacy) {
  const std::string number = std::to_string(tag), &wanted = classOf(place.choices.back()).wanted;
  if (place.isUnion) {
    return "Unexpected tag " + number + " received in Union " + parent.name + ".this->" + place.name;
  }
  const char* ending = wanted.back() != '_' ? "" : legacy ? "LEGACY" : "CURRENT";
  return "Tag mismatch, got " + number + " expected " + wanted + ending;
}

constexpr Bounds kAnyLength = upTo(INT64_MAX);

std::string joined(std::span<const std::string> fields) {
  return std::accumulate(fields.begin(), fields.end(), std::string());
}

// A class in one of the tag sets, and a catalogue that knows no other.
class Subject final : public BerProtocol {
 public:
  Subject(const Class& row, const Record& prototype, bool legacy)
      : row_(row), prototype_(prototype), legacy_(legacy), unset_(sample(kUnset)), some_(sample(kRandom)) {}

  std::unique_ptr<Record> makeMessage(std::uint32_t tag, bool) const override {
    return tag == row_.tag[legacy_] ? prototype_.blank() : throw EBer("Unknown tag");
  }

  void readsWhatItWrites() {
    std::unique_ptr<Record> last;
    std::string lastBytes;
    for (round_ = kUnset; round_ <= kRandom + 3; ++round_) {
      const std::string bytes = whole(sample(round_));
      auto value = read(bytes);
      EXPECT_EQ(writtenHex(*value, legacy_), bytes);
      EXPECT_TRUE(*value == *read(bytes) && *value == *value->clone());
      EXPECT_EQ(last != nullptr && *last == *value, bytes == lastBytes);
      last = std::move(value);
      lastBytes = bytes;
    }
  }

  void takesFewerFieldsAndMore() {
    for (std::size_t count = 0; count <= some_.size(); ++count) {
      Fields fields(some_.begin(), some_.begin() + static_cast<std::ptrdiff_t>(count));
      const std::string bytes = whole(fields);
      const auto missing = std::span(row_.places).subspan(count);
      if (count < row_.required) {
        EXPECT_EQ(refused(bytes, ""), "Got to few fields of constructed value");
      } else if (const auto value = read(bytes); std::ranges::none_of(missing, &Place::isUnion)) {
        std::ranges::copy(std::span(unset_).subspan(count), std::back_inserter(fields));
        EXPECT_EQ(writtenHex(*value, legacy_), whole(fields));
      }
    }
    Fields more = some_;
    more.push_back("06 01 FF BF 81 01 80 30 04 02 02 12 34 00 00 ");
    EXPECT_EQ(writtenHex(*read(whole(more)), legacy_), whole(some_));
  }

  void refusesOtherTags() {
    for (std::size_t i = 0; i < row_.places.size(); ++i) {
      const std::string where = ", BerReader: " + row_.name + ":" + std::to_string(i + 1);
      refusesOtherTags(row_, i, row_.places[i], where);
      if (const Class& list = classOf(row_.places[i].choices[0]); list.isList()) {
        refusesOtherTags(list, i, list.places[0], where + ", " + list.name + ":1");
      }
    }
  }

  void refusesOneStepOutside() {
    for (std::uint32_t i = 0; i < row_.places.size(); ++i) {
      for (const Choice& choice : row_.places[i].choices) {
        const Class& of = classOf(choice);
        const Choice& bounds = of.isList() ? of.places[0].choices[0] : choice;
        if (classOf(bounds).isPrimitive() && classOf(bounds).items.empty()) {
          refusesOutside(i, of, bounds, bounds.high + 1);
        }
        if (bounds.of == "i32") {
          refusesOutside(i, of, bounds, bounds.low - 1);
        }
      }
    }
  }

  // One whose field is of this class: a record, or a list with one element.
  std::unique_ptr<Record> with(std::size_t index, const Choice& choice) {
    Fields fields = unset_;
    const Class& of = classOf(choice);
    const std::string content = of.isList() ? field(of.places[0], 1) : "";
    fields[index] =
        of.isList() ? of.identifier[legacy_] + " 80 " + content + "00 00 " : field({"", {choice}, false}, 0);
    return decoded(whole(fields), legacy_, *this);
  }

 private:
  enum Round { kUnset, kLow, kHigh, kRandom };

  void refusesOtherTags(const Class& parent, std::size_t index, const Place& place,
                        const std::string& where) {
    std::map<std::uint32_t, std::string> others{{48, "06"}};
    for (const auto& [name, row] : table()) {
      others[row.tag[legacy_]] = row.identifier[legacy_];
    }
    for (const Choice& choice : place.choices) {
      others.erase(classOf(choice).tag[legacy_]);
    }
    for (const auto& [tag, identifier] : others) {
      EXPECT_EQ(refused(before(index, parent) + identifier + " 00 ", behind(index, parent)),
                refusal(parent, place, tag, legacy_) + where);
    }
  }

  // An integer or the length of a string, in a field or in the elements of a list. Of a long string, the
  // beginning is enough.
  void refusesOutside(std::uint32_t index, const Class& of, const Choice& bounds, std::int64_t number) {
    const bool isText = bounds.of == "string";
    const std::string it = std::to_string(number), high = std::to_string(bounds.high);
    const std::string item =
        isText ? itemOf(std::string(static_cast<std::size_t>(number), 'x'), kAnyLength, legacy_)
               : itemOf(number);
    EXPECT_EQ(refused(before(index, of) + item.substr(0, 401) + " ", behind(index, of)),
              isText ? "String exceeds allowed length " + it + " > " + high
              : number == static_cast<std::int32_t>(number)
                  ? "data out of range in BerIntegerTemplate<int>::readDone " + std::to_string(bounds.low) +
                        " <= " + it + " <= " + high
              : bounds.of == "u32" ? "data out of range in BerIntegerTemplate"
                                   : "Data value exceeds maximum allowed length 5 > 4");
  }

  // All that stands ahead of a field, or of the first element in it.
  std::string before(std::size_t index, const Class& of) const {
    return row_.identifier[legacy_] + " 80 " + joined(std::span(unset_).first(index)) +
           (of.isList() ? of.identifier[legacy_] + " 80 " : "");
  }
  // And behind it, to the end of the record.
  std::string behind(std::size_t index, const Class& of) const {
    return (of.isList() ? "00 00 " : "") + joined(std::span(unset_).subspan(index + 1)) + "00 00";
  }
  std::string whole(const Fields& fields) const {
    return plainHex(row_.identifier[legacy_] + " 80 " + joined(fields) + "00 00");
  }

  std::unique_ptr<Record> read(const std::string& hex) const {
    return decodedHoweverCut(hex, legacy_, *this);
  }
  // The refusal is the same if the record goes on behind.
  std::string refused(const std::string& hex, const std::string& rest) const {
    const std::string refusal = outcomeOf(hex, legacy_, *this).refusal;
    EXPECT_EQ(textOf<EBer>([&] { decoded(hex + rest, legacy_, *this); }), refusal) << hex << rest;
    return refusal;
  }

  Fields sample(int round) {
    Fields fields;
    round_ = round;
    std::ranges::for_each(row_.places, [&](const Place& place) { fields.push_back(field(place, 0)); });
    return fields;
  }

  std::string field(const Place& place, int depth) {
    const Choice& choice = place.choices[upTo(place.choices.size() - 1)];
    const Class& of = classOf(choice);
    if (choice.of == "string") {
      std::string text(
          upTo(round_ < kRandom ? static_cast<std::size_t>(std::min<std::int64_t>(choice.high, 65536)) : 15),
          ' ');
      std::ranges::generate(text, [&] { return static_cast<char>(random_()); });
      return itemOf(text, kAnyLength, legacy_) + " ";
    }
    if (of.isPrimitive()) {
      return of.items.empty() ? itemOf(pick(choice.low, choice.high)) + " "
                              : of.items[upTo(of.items.size() - 1)];
    }
    std::string children;
    const int outer = std::exchange(round_, of.isList() ? round_ : +kRandom);
    const std::size_t count = !of.isList() ? of.places.size() : depth > 4 ? 0U : upTo(3);
    for (std::size_t i = 0; i < count; ++i) {
      children += field(of.places[of.isList() ? 0 : i], depth + 1);
    }
    round_ = outer;
    return of.identifier[legacy_] + " 80 " + children + "00 00 ";
  }

  std::size_t upTo(std::size_t last) {
    return static_cast<std::size_t>(pick(0, static_cast<std::int64_t>(last)));
  }
  std::int64_t pick(std::int64_t low, std::int64_t high) {
    return round_ == kUnset ? std::clamp<std::int64_t>(0, low, high)
           : round_ == kLow ? low
           : round_ == kHigh
               ? high
               : low + static_cast<std::int64_t>(random_() % static_cast<std::uint64_t>(high - low + 1));
  }

  const Class& row_;
  const Record& prototype_;
  const bool legacy_;
  int round_ = kUnset;
  std::mt19937_64 random_{20240229};
  Fields unset_, some_;
};

// From a message down to every class below it.
void visit(const Record& record, std::set<std::string>& reached) {
  if (!reached.insert(record.name()).second) {
    return;
  }
  SCOPED_TRACE(record.name());
  const Class& row = table().at(record.name());
  const auto fields = record.schema().fields;
  EXPECT_EQ(record.schema().required, row.required);
  EXPECT_TRUE(std::ranges::equal(fields, row.places, {}, &Field::name, &Place::name));
  EXPECT_TRUE(std::ranges::is_sorted(fields, {}, [&](const Field& field) { return field.in(record); }));
  for (const bool legacy : {false, true}) {
    EXPECT_EQ(record.schema().tag.word(legacy), row.tag[legacy]);
    Subject subject(row, record, legacy);
    subject.readsWhatItWrites();
    subject.takesFewerFieldsAndMore();
    subject.refusesOtherTags();
    subject.refusesOneStepOutside();
    for (std::size_t i = 0; i < row.places.size(); ++i) {
      for (const Choice& choice : row.places[i].choices) {
        reached.insert(classOf(choice).isList() ? choice.of : "");  // its name stands in refusals
        const auto value = subject.with(i, choice);
        if (const Nest* nest = fields[i].ops->nest) {
          visit(*nest->at(fields[i].in(*value), 0), reached);
        }
      }
    }
  }
}

}  // namespace

TEST(Catalogue, IsWhatTheTableSays) {
  std::set<std::string> reached;
  std::map<std::uint32_t, std::string> tops;
  for (const auto& [name, row] : table()) {
    if (!row.isPrimitive() && row.tag[0] == row.tag[1]) {
      tops[row.tag[0]] = name;
    }
  }
  for (std::uint32_t tag = 0; tag < 2200; ++tag) {
    for (const bool legacy : {false, true}) {
      std::string made;
      const std::string refused = textOf<EBer>([&] {
        const auto message = guiProtocol::instance().makeMessage(tag, legacy);
        made = message->name();
        visit(*message, reached);
      });
      EXPECT_EQ(refused, tops.contains(tag) ? "nothing thrown" : "Unknown tag " + std::to_string(tag));
      EXPECT_EQ(made, tops.contains(tag) ? tops[tag] : "");
    }
  }
  for (const auto& [name, row] : table()) {
    EXPECT_TRUE(row.isPrimitive() || reached.contains(name)) << name;
  }
}
