// Decodes a message from memory as the tool does when it comes from a socket: in blocks of 64 KiB.
//
// Usage: decode-answer FILE ROUNDS
// Prints the processor time of the fastest round in seconds, without freeing the result.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iterator>
#include <vector>

#include "foundation/errors.h"
#include "protocol/ber_reader.h"
#include "protocol/catalogue.h"

using namespace morvex;

namespace {

constexpr std::size_t kBlock = 1 << 16;

double decode(const std::vector<char>& bytes) {
  const auto* data = reinterpret_cast<const std::uint8_t*>(bytes.data());
  const std::clock_t begin = std::clock();
  old_protocol::BerReader reader(protocol::guiProtocol::instance(), nullptr);
  for (std::size_t at = 0; at < bytes.size(); at += kBlock) {
    reader.feed({data + at, std::min(kBlock, bytes.size() - at)});
  }
  const auto message = reader.nextMessage();
  const std::clock_t end = std::clock();
  if (message == nullptr) {
    std::fputs("The message is incomplete\n", stderr);
    std::exit(1);
  }
  return static_cast<double>(end - begin) / CLOCKS_PER_SEC;
}

}  // namespace

int main(int count, char** arguments) try {
  if (count < 3) {
    return 2;
  }
  std::ifstream file(arguments[1], std::ios::binary);
  const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
  double best = decode(bytes);
  for (int round = 1; round < std::atoi(arguments[2]); ++round) {
    best = std::min(best, decode(bytes));
  }
  std::printf("%.6f\n", best);
} catch (const error::Exception& failure) {
  std::fprintf(stderr, "%s\n", failure.text().c_str());
  return 1;
}
