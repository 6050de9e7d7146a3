// Exports what a check has measured as JSON lines, one object per row. The password is the first line of
// standard input, where no list of processes shows it. FROM and TO are seconds since 1970.
#include <array>
#include <charconv>
#include <cmath>
#include <iostream>
#include <limits>
#include <string>
#include <string_view>

#include "foundation/errors.h"
#include "foundation/text.h"
#include "foundation/wipe.h"
#include "platform/process.h"
#include "query/data_query.h"
#include "query/object_path.h"
#include "query/select.h"

using namespace morvex;

namespace {

constexpr int kOtherFailure = 1, kRefused = 3, kLost = 4, kMissing = 5;

class MissingObject : public error::MessageException {
  using MessageException::MessageException;
};

std::unique_ptr<Connection> logIn(const std::string& server, const std::string& port,
                                  const std::string& login) {
  const std::uint32_t number = stringToUint(port);
  if (number == 0 || number > 65535) {
    throw error::EFatal("No port: " + port);
  }
  std::string password;
  std::getline(std::cin, password);
  struct WipeOnExit {
    std::string& secret;
    ~WipeOnExit() { wipe(secret); }
  } const guard{password};
  return Connection::newSession(kSocketIo, server, number, "export_check", login, password, ".");
}

// The ID of the check with this path.
std::string findCheck(Connection& connection, const std::string& path) {
  const std::string root = connection.rootObjectId();
  const auto query = comquery::make<tqlquery::Select>(root, pathExpression(path, false, ""));
  connection.post(*query);
  connection.await(*query);  // a refused query leaves no result
  const tqlquery::Result* object = query->find_result_opt(root);
  while (object != nullptr && object->children.size() == 1) {  // an object below each step of the path
    object = object->children.front().get();
  }
  if (object == nullptr || object->className != "Check") {
    throw MissingObject("No check with the path " + path);
  }
  return object->id;
}

// Six digits would do for most; this is the shortest text that reads back as the same number. JSON has no
// word for NaN and infinity.
void appendNumber(std::string& line, double value) {
  std::array<char, 32> text;
  const char* const end = std::to_chars(text.data(), text.data() + text.size(), value).ptr;
  line += std::isfinite(value) ? std::string_view(text.data(), end) : "null";
}

template <class Row>
std::string jsonLine(const Row& row) {
  std::string line = "{\"begin\":" + intToString(row.begin) + ",\"end\":" + intToString(row.end);
  appendNumber(line += ",\"min\":", row.min);
  appendNumber(line += ",\"avg\":", row.avg);
  appendNumber(line += ",\"max\":", row.max);
  return line + ",\"ngood\":" + uintToString(row.ngood) + ",\"nbad\":" + uintToString(row.nbad) + "}\n";
}

void printRow(const protocol::DataInterval& entry) {
  if (const auto* row = entry.data.as<protocol::DataIntervalContinuous>()) {
    std::cout << jsonLine(*row);
  } else if (const auto* counted = entry.data.as<protocol::DataIntervalSawtooth>()) {
    std::cout << jsonLine(*counted);
  } else {
    throw error::EFatal("The check measures no numbers");
  }
}

void exportRows(Connection& connection, const std::string& id, std::int32_t from, std::int32_t to) {
  const auto query = comquery::make<dataquery::GetData>(id, "tsdbIndex", from, to, 0, 0, true);
  connection.post(*query);
  if (const std::uint32_t refusal = connection.await(*query)) {
    throw error::EFatal("The server refuses: " + errorString(refusal));
  }
  for (const protocol::DataInterval& entry : query->intervals) {
    printRow(entry);
  }
  if (!std::cout.flush()) {
    throw error::EFatal("Cannot write the rows");
  }
}

void run(int count, char** arguments) {
  if (count < 5 || count > 7) {
    throw error::EFatal("Usage: export_check HOST PORT LOGIN PATH [FROM [TO]] < PASSWORD_FILE");
  }
  const std::int32_t from = count > 5 ? stringToInt(arguments[5]) : 0;
  const std::int32_t to = count > 6 ? stringToInt(arguments[6]) : std::numeric_limits<std::int32_t>::max();
  const auto connection = logIn(arguments[1], arguments[2], arguments[3]);
  exportRows(*connection, findCheck(*connection, arguments[4]), from, to);
}

int fail(int exitCode, std::string_view what, const error::Exception& failure) {
  std::cerr << "export_check: " << what << failure.text() << '\n';
  return exitCode;
}

}  // namespace

int main(int count, char** arguments) try {
  prepareProcess();
  run(count, programArguments(count, arguments));
  return 0;
} catch (const errors::connect_error& failure) {
  return fail(kRefused, "log-in refused: ", failure);
} catch (const error::ESystemError& failure) {
  return fail(kLost, "server unreachable or lost: ", failure);
} catch (const MissingObject& failure) {
  return fail(kMissing, "", failure);
} catch (const error::Exception& failure) {
  return fail(kOtherFailure, "", failure);
}
