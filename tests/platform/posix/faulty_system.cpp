// A faulty system, for programs that are started with this library in LD_PRELOAD. The variable MORVEX_FAULT
// says what goes wrong, by rules "call:first:step:outcome" between blanks: from the first call on, at each
// step-th one; with step 0 at that one alone. Outcomes are
//   eN  fails with errno N                          lN  takes N bytes at most
//   dN  does its work, yet fails with errno N       rN  returns N and does nothing
//   vN  takes N in place of the integer that its fourth argument points to
//   c0  none; the number of calls is printed to standard error in the end
// The call "alloc" is each of malloc, calloc and realloc; it can only fail.

#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

namespace {

struct Rule {
  char call[16];
  long first, step;
  char outcome;
  long value, seen;
};
Rule g_rules[8];
std::size_t g_ruleCount = 0;
bool g_loaded = false;

void load(const char* rules) {
  int length = 0;
  for (g_ruleCount = 0, g_loaded = true; g_ruleCount < std::size(g_rules); rules += length) {
    Rule rule{};
    if (std::sscanf(rules, " %15[^:]:%ld:%ld:%c%ld%n", rule.call, &rule.first, &rule.step, &rule.outcome,
                    &rule.value, &length) != 5) {
      return;
    }
    g_rules[g_ruleCount++] = rule;
  }
}

// Counts this call. Returns the rule that it meets, if any.
const Rule* struck(const char* call) {
  if (!g_loaded && environ != nullptr) {  // the first allocations come ahead of everything else
    const char* rules = std::getenv("MORVEX_FAULT");
    load(rules == nullptr ? "" : rules);
  }
  for (Rule& rule : g_rules) {
    if (&rule < g_rules + g_ruleCount && std::strcmp(rule.call, call) == 0) {
      const long behind = ++rule.seen - rule.first;
      if (rule.outcome != 'c' && (behind == 0 || (behind > 0 && rule.step > 0 && behind % rule.step == 0))) {
        return &rule;
      }
    }
  }
  return nullptr;
}

// Makes a call whose arguments are all integers and pointers, which travel alike, the length being the third.
long make(const char* call, long a, long b, long c, long d, long e) {
  const Rule* rule = struck(call);
  if (rule != nullptr && rule->outcome == 'r') {
    return rule->value;
  }
  if (rule != nullptr && rule->outcome == 'l') {
    c = std::min(c, rule->value);
  }
  int value = rule == nullptr ? 0 : static_cast<int>(rule->value);
  if (rule != nullptr && rule->outcome == 'v') {
    d = reinterpret_cast<long>(&value);
  }
  long result = -1;
  if (rule == nullptr || rule->outcome != 'e') {
    result = reinterpret_cast<long (*)(long, long, long, long, long)>(dlsym(RTLD_NEXT, call))(a, b, c, d, e);
  }
  if (rule != nullptr && rule->outcome != 'l' && rule->outcome != 'v') {
    errno = static_cast<int>(rule->value);
    return -1;
  }
  return result;
}

bool refused() {
  const Rule* rule = struck("alloc");
  errno = rule == nullptr ? errno : static_cast<int>(rule->value);
  return rule != nullptr;
}

[[gnu::destructor]] void report() {
  for (std::size_t i = 0; i < g_ruleCount; ++i) {
    if (g_rules[i].outcome == 'c') {
      dprintf(STDERR_FILENO, "%ld\n", g_rules[i].seen);
    }
  }
}

}  // namespace

// Each stands in for the system's function of that name.
#define FAULTY(name)                                                      \
  extern "C" long faulty_##name(long, long, long, long, long) asm(#name); \
  long faulty_##name(long a, long b, long c, long d, long e) { return make(#name, a, b, c, d, e); }
#define STARVED(name, parameters, ...)                   \
  extern "C" void* __libc_##name parameters;             \
  extern "C" void* starved_##name parameters asm(#name); \
  void* starved_##name parameters { return refused() ? nullptr : __libc_##name(__VA_ARGS__); }
// clang-format off
FAULTY(close) FAULTY(connect) FAULTY(getaddrinfo) FAULTY(getsockopt) FAULTY(ioctl) FAULTY(open) FAULTY(poll) FAULTY(read)
FAULTY(recv) FAULTY(send) FAULTY(setenv) FAULTY(setsockopt) FAULTY(socket) FAULTY(tcgetattr) FAULTY(tcsetattr) FAULTY(write)
STARVED(malloc, (std::size_t size), size)
STARVED(calloc, (std::size_t count, std::size_t size), count, size)
STARVED(realloc, (void* old, std::size_t size), old, size)
    // clang-format on
