// Exports a series like the tool's select, in one straight line: reads the whole answer into one buffer,
// walks through it with a pointer and prints. It has no layers, no records and no checks, but the conversions
// of the tool: the ratio of the two is the cost of the tool's structure.
//
// Usage: straight-line PORT REQUESTS OUTPUT [-u]
// REQUESTS is a file with the bytes that the tool sends, from the log-in on. -u prints times in seconds.
#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "foundation/number_text.h"
#include "platform/time_zone.h"

using namespace morvex;

namespace {

using Bytes = const std::uint8_t*;

constexpr std::size_t kBlock = 1 << 16;
constexpr std::size_t kLongestRow = 1 << 10;

[[noreturn]] void fail(const char* step) {
  std::perror(step);
  std::exit(1);
}

int connectTo(const char* port) {
  const int descriptor = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(std::atoi(port)));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    fail("connect");
  }
  return descriptor;
}

// All requests at once; the server answers them in turn and then closes.
void sendFile(int connection, const char* name) {
  char requests[kBlock];
  const int file = open(name, O_RDONLY);
  const ssize_t size = read(file, requests, sizeof requests);
  if (size <= 0 || send(connection, requests, static_cast<std::size_t>(size), 0) != size) {
    fail("send");
  }
  close(file);
  shutdown(connection, SHUT_WR);
}

// The buffer doubles. The system provides memory only for the pages that are written to.
Bytes receiveAll(int connection) {
  std::size_t capacity = 16 * kBlock, size = 0;
  auto* bytes = static_cast<std::uint8_t*>(std::malloc(capacity));
  while (true) {
    if (capacity - size < kBlock) {
      bytes = static_cast<std::uint8_t*>(std::realloc(bytes, capacity *= 2));
    }
    const ssize_t count = recv(connection, bytes + size, capacity - size, 0);
    if (count <= 0) {
      return bytes;
    }
    size += static_cast<std::size_t>(count);
  }
}

// The end of a whole item.
Bytes skip(Bytes at) {
  int depth = 0;
  do {
    if (at[1] == 0x80) {
      ++depth;
      at += 2;
    } else if (at[0] == 0) {
      --depth;
      at += 2;
    } else if (at[1] < 0x80) {
      at += 2 + at[1];
    } else {
      std::size_t length = 0;
      const int count = at[1] & 0x7F;
      for (int i = 0; i < count; ++i) {
        length = length << 8 | at[2 + i];
      }
      at += length + 2 + static_cast<std::size_t>(count);
    }
  } while (depth > 0);
  return at;
}

// The first entry of the answer, which is a Response (75) with a GetDataResp (A6) of a type and the entries.
Bytes findEntries(Bytes at) {
  while (at[0] != 0x75 || skip(at + 2)[0] != 0xA6) {
    at = skip(at);
  }
  return skip(skip(at + 2) + 2) + 2;
}

std::uint32_t takeInteger(Bytes& at) {
  const int length = at[1];
  std::uint32_t value = length > 0 && at[2] >= 0x80 ? ~0U : 0;
  for (int i = 0; i < length; ++i) {
    value = value << 8 | at[2 + i];
  }
  at += 2 + length;
  return value;
}

double takeReal(Bytes& at) {
  const char* text = reinterpret_cast<const char*>(at) + 3;  // behind the byte that says it is text
  at += 2 + at[1];
  double value = 0;  // an empty text
  readDecimal(text, reinterpret_cast<const char*>(at), value);
  return value;
}

char* putPair(char* to, int value) {
  to[0] = static_cast<char>('0' + value / 10);
  to[1] = static_cast<char>('0' + value % 10);
  return to + 2;
}

// Times in one of the two forms. Keeps the last text, because a row usually begins where the one before
// ended.
struct Times {
  bool local;
  Calendar calendar{TimeZone(TimeZone::localMarker)};
  std::uint32_t last = 0;
  char text[20] = "1970-01-01 01:00:00";

  char* put(char* to, std::uint32_t time) {
    if (!local) {
      return putUint(to, time);
    }
    if (time != last) {
      const std::tm& fields = calendar.breakDown(time);
      const int year = fields.tm_year + 1900;
      putPair(putPair(text, year / 100), year % 100);
      putPair(text + 5, fields.tm_mon + 1);
      putPair(text + 8, fields.tm_mday);
      putPair(text + 11, fields.tm_hour);
      putPair(text + 14, fields.tm_min);
      putPair(text + 17, fields.tm_sec);
      last = time;
    }
    std::memcpy(to, text, 19);
    return to + 19;
  }
};

char* putSpan(char* to, Times& times, Bytes& at) {
  to = times.put(to, takeInteger(at));
  *to++ = ',';
  return times.put(to, takeInteger(at));
}

char* putCount(char* to, Bytes& at) {
  *to++ = ',';
  return putUint(to, takeInteger(at));
}

char* putMeasured(char* to, Times& times, Bytes& at) {
  to = putSpan(to, times, at);
  const double max = takeReal(at), avg = takeReal(at), min = takeReal(at);
  for (const double value : {min, avg, max}) {
    *to++ = ',';
    to = putReal(to, value);
  }
  return putCount(putCount(to, at), at);
}

char* putEnum(char* to, Times& times, Bytes& at) {
  return putCount(putCount(putCount(putSpan(to, times, at), at), at), at);
}

// All texts are shorter than 128 bytes.
char* putIncident(char* to, Times& times, Bytes& at) {
  to = putCount(times.put(to, takeInteger(at)), at);
  *to++ = ',';
  *to++ = '"';
  std::memcpy(to, at + 2, at[1]);
  to += at[1];
  *to++ = '"';
  at += 2 + at[1];
  return to;
}

void writeAll(int file, const char* from, const char* end) {
  if (write(file, from, static_cast<std::size_t>(end - from)) != end - from) {
    fail("write");
  }
}

void print(int file, Bytes at, Times times) {
  static char block[kBlock + kLongestRow];
  const std::uint8_t kind = at[2];
  const auto putEntry = kind == 0xA1 ? putIncident : kind == 0xA4 ? putEnum : putMeasured;
  char* to = stpcpy(block, kind == 0xA1   ? "Time,Severity,Text\n"
                           : kind == 0xA4 ? "Begin,End,Mask,ngood,nbad\n"
                                          : "Begin,End,Min,Avg,Max,ngood,nbad\n");
  while (at[0] != 0) {
    at += 4;  // the interval and the entry in it
    to = putEntry(to, times, at);
    *to++ = '\n';
    at += 4;
    if (to >= block + kBlock) {
      writeAll(file, block, to);
      to = block;
    }
  }
  writeAll(file, block, to);
}

}  // namespace

int main(int count, char** arguments) {
  if (count < 4) {
    return 2;
  }
  const int connection = connectTo(arguments[1]);
  sendFile(connection, arguments[2]);
  const Bytes entries = findEntries(receiveAll(connection));
  const int file = open(arguments[3], O_WRONLY | O_CREAT | O_TRUNC, 0666);
  print(file, entries, {.local = count == 4});
  return close(file) == 0 ? 0 : 1;
}
