#include "cli/progress.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "foundation/number_text.h"

namespace morvex {

namespace {

using namespace std::chrono_literals;

constexpr auto kDelay = 1s;
constexpr auto kInterval = 100ms;
constexpr auto kNotShown = ~std::uint64_t{0};

// A carriage return, the longest text, and another one: two numbers of 26 characters and 30 beside them.
constexpr std::size_t kRoom = 96;
using Room = std::array<char, kRoom>;

constexpr std::array<std::string_view, 4> kVerbs{"Received ", "Sent ", "Read ", "Written "};  // as in Way

struct Unit {
  std::uint64_t size;
  std::string_view name;
};
constexpr Unit kUnits[] = {{1'000'000'000, " GB"}, {1'000'000, " MB"}, {1'000, " kB"}};

char* put(char* to, std::string_view text) { return std::copy(text.begin(), text.end(), to); }

// Cut to one decimal, in the largest unit that gives at least 1.0.
char* putBytes(char* to, std::uint64_t bytes) {
  const Unit* unit = std::begin(kUnits);
  while (unit != std::end(kUnits) - 1 && bytes < unit->size) {
    ++unit;
  }
  const std::uint64_t tenths = bytes / (unit->size / 10);
  to = putGrouped(to, tenths / 10);
  *to++ = '.';
  *to++ = static_cast<char>('0' + tenths % 10);
  return put(to, unit->name);
}

}  // namespace

constinit ProgressLine g_progress;

void ProgressLine::start(Show how, Time now) {
  show_ = how;
  next_ = now + kDelay;
}

void ProgressLine::enter(Way way, std::string_view rowName, const void* rowKind) {
  way_ = way;
  rowName_ = rowName;
  bytesBefore_ = g_traffic.bytes[static_cast<std::size_t>(way)];
  bytesShown_ = kNotShown;
  rowsBefore_ = g_traffic.rows;
  g_traffic.rowKind = rowKind;
  g_traffic.behind = show_ != nullptr;
}

void ProgressLine::update(Time now) {
  if (show_ == nullptr) {
    return;
  }
  g_traffic.behind = bytes() != bytesShown_;
  if (now >= next_) {
    next_ = now + kInterval;
    draw();
  }
}

// Blanks cover the rest of a longer text.
void ProgressLine::draw() noexcept {
  Room room;
  char* const begin = put(room.data(), "\r");
  char* end = put(begin, kVerbs[static_cast<std::size_t>(way_)]);
  end = put(putBytes(end, bytes()), ", ");
  end = put(putGrouped(end, g_traffic.rows - rowsBefore_), " ");
  end = put(end, rowName_);
  const auto width = std::max(width_, static_cast<std::size_t>(end - begin));
  std::fill(end, begin + width, ' ');
  show({room.data(), width + 1}, width);
}

void ProgressLine::wipe() noexcept {
  if (width_ > 0) {
    Room room;
    room.fill(' ');
    room[0] = room[width_ + 1] = '\r';
    show({room.data(), width_ + 2}, 0);
  }
}

void ProgressLine::show(std::string_view text, std::size_t width) noexcept {
  switch (show_(text)) {
    case TerminalOutcome::shown:
      width_ = width;
      bytesShown_ = bytes();
      g_traffic.behind = false;
      break;
    case TerminalOutcome::heldBack:
      break;
    case TerminalOutcome::lost:  // no failure of the run
      show_ = nullptr;
      width_ = 0;
      g_traffic.behind = false;
      break;
  }
}

}  // namespace morvex
