#include "cli/progress.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace morvex;

namespace {

using namespace std::chrono_literals;

std::vector<std::string> g_texts;
TerminalOutcome g_outcome;

TerminalOutcome take(std::string_view text) noexcept {
  g_texts.emplace_back(text);
  return g_outcome;
}

// Starts one hour ahead of the clock, so that the clock has no effect.
struct Progress : testing::Test {
  Progress() {
    g_traffic = {};
    g_texts.clear();
    g_outcome = TerminalOutcome::shown;
    line.start(take, start);
    line.enter(Way::sent, "rows");
  }
  const ProgressLine::Time start = std::chrono::steady_clock::now() + 1h;
  ProgressLine line;
};

}  // namespace

TEST_F(Progress, KeepsItsPace) {
  const std::pair<std::chrono::milliseconds, std::size_t> drawn[] = {
      {0ms, 0}, {999ms, 0}, {1000ms, 1}, {1099ms, 1}, {1100ms, 2}, {1250ms, 3}, {1340ms, 3}, {1350ms, 4}};
  for (const auto& [time, times] : drawn) {
    line.update(start + time);
    EXPECT_EQ(g_texts.size(), times) << time.count();
  }
}

TEST_F(Progress, SaysWhatThePhaseHasDone) {
  const std::tuple<std::uint64_t, std::uint64_t, std::string> said[] = {
      {0, 0, "0.0 kB, 0 rows"},
      {999'999, 999, "999.9 kB, 999 rows"},
      {1'000'000, 1'000, "1.0 MB, 1,000 rows"},
      {123'456'789, 12'345'678, "123.4 MB, 12,345,678 rows"},
      {~std::uint64_t{0}, ~std::uint64_t{0}, "18,446,744,073.7 GB, 18,446,744,073,709,551,615 rows"}};
  auto now = start;
  for (const auto& [bytes, rows, text] : said) {
    line.wipe();
    line.enter(Way::read, "rows");
    g_traffic.count(Way::received, 7);
    g_traffic.count(Way::read, bytes);
    g_traffic.rows += rows;
    line.update(now += 1s);
    EXPECT_EQ(g_texts.back(), "\rRead " + text);
  }
}

TEST_F(Progress, CoversWhatStoodThere) {
  g_traffic.count(Way::sent, 12'345);
  EXPECT_TRUE(g_traffic.behind);
  line.update(start + 1s);
  EXPECT_FALSE(g_traffic.behind);
  line.enter(Way::read, "rows");
  EXPECT_TRUE(g_traffic.behind);
  line.update(start + 2s);
  line.wipe();
  line.wipe();
  EXPECT_EQ(g_texts, (std::vector<std::string>{"\rSent 12.3 kB, 0 rows", "\rRead 0.0 kB, 0 rows ",
                                               "\r" + std::string(20, ' ') + "\r"}));
}

TEST_F(Progress, BearsWithItsTerminal) {
  g_outcome = TerminalOutcome::heldBack;
  line.update(start + 1s);
  line.wipe();
  EXPECT_EQ(g_texts.size(), 1u);  // nothing stands there
  g_outcome = TerminalOutcome::shown;
  line.update(start + 2s);
  g_outcome = TerminalOutcome::lost;
  line.update(start + 3s);
  g_traffic.count(Way::sent, 1);
  line.update(start + 4s);
  line.wipe();
  EXPECT_EQ(g_texts.size(), 3u);
  EXPECT_FALSE(g_traffic.behind);
}
