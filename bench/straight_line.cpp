// Exports a series as the tool's select does, in one straight line: reads all that the server sends into one
// buffer, walks through it with a pointer and prints as it goes. There are no layers, no records and no
// checks; the conversions are those of the tool, so that the ratio of the two shows what its structure costs.
//
// Usage: straight-line PORT REQUESTS OUTPUT [-u]
// REQUESTS is a file with the bytes that the tool sends, from its log-in on. -u prints times as plain
// seconds.
#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "commands/csv_output.h"
#include "foundation/text.h"

namespace {

using Bytes = const std::uint8_t*;

constexpr std::size_t kBlock = 1 << 16;

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

// The buffer doubles; of memory that is not written to, the system gives none.
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

// Past a whole item.
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
      at += 2 + count + length;
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
  const int length = at[1];
  const char* text = reinterpret_cast<const char*>(at) + 3;  // behind the byte that says it is text
  at += 2 + length;
  return length == 0 ? 0 : stringToReal({text, static_cast<std::size_t>(length - 1)});
}

void put(std::string& out, std::uint32_t number) {
  out += ',';
  out += uintToString(number);
}

void putSpan(std::string& out, TimeText& times, Bytes& at) {
  out += times.of(static_cast<std::int32_t>(takeInteger(at)));
  out += ',';
  out += times.of(static_cast<std::int32_t>(takeInteger(at)));
}

void putMeasured(std::string& out, TimeText& times, Bytes& at) {
  putSpan(out, times, at);
  const double max = takeReal(at), avg = takeReal(at), min = takeReal(at);
  for (const double value : {min, avg, max}) {
    out += ',';
    appendReal(out, value);
  }
  put(out, takeInteger(at));
  put(out, takeInteger(at));
}

void putEnum(std::string& out, TimeText& times, Bytes& at) {
  putSpan(out, times, at);
  for (int i = 0; i < 3; ++i) {
    put(out, takeInteger(at));
  }
}

// The texts are shorter than 128 bytes.
void putIncident(std::string& out, TimeText& times, Bytes& at) {
  out += times.of(static_cast<std::int32_t>(takeInteger(at)));
  put(out, takeInteger(at));
  out += ",\"";
  out.append(reinterpret_cast<const char*>(at) + 2, at[1]);
  out += '"';
  at += 2 + at[1];
}

const char* headerOf(std::uint8_t kind) {
  return kind == 0xA1   ? "Time,Severity,Text\n"
         : kind == 0xA4 ? "Begin,End,Mask,ngood,nbad\n"
                        : "Begin,End,Min,Avg,Max,ngood,nbad\n";
}

void writeAll(int file, std::string& out) {
  if (write(file, out.data(), out.size()) != static_cast<ssize_t>(out.size())) {
    fail("write");
  }
  out.clear();
}

void print(int file, Bytes at, const char* timeFormat) {
  TimeText times(timeFormat, TimeZone(TimeZone::localMarker));
  const std::uint8_t kind = at[2];
  const auto putEntry = kind == 0xA1 ? putIncident : kind == 0xA4 ? putEnum : putMeasured;
  std::string out = headerOf(kind);
  while (at[0] != 0) {
    at += 4;  // the interval and the entry in it
    putEntry(out, times, at);
    out += '\n';
    at += 4;
    if (out.size() >= kBlock) {
      writeAll(file, out);
    }
  }
  writeAll(file, out);
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
  print(file, entries, count > 4 && std::strcmp(arguments[4], "-u") == 0 ? "%s" : "%Y-%m-%d %H:%M:%S");
  return close(file) == 0 ? 0 : 1;
}
