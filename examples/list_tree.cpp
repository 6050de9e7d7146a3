// Lists all that a login sees of a server's tree, each object below the one it belongs to.
#include <iostream>

#include "foundation/errors.h"
#include "foundation/text.h"
#include "platform/process.h"
#include "query/select.h"

using namespace morvex;

int main(int count, char** arguments) try {
  prepareProcess();
  if (count != 5) {
    throw error::EFatal("Usage: list_tree HOST PORT LOGIN PASSWORD");
  }
  const auto connection = Connection::newSession(kSocketIo, arguments[1], stringToUint(arguments[2]),
                                                 "list_tree", arguments[3], arguments[4], ".");
  const std::string root = connection->rootObjectId();
  const auto query = comquery::make<tqlquery::Select>(root, ".*[siblingName]");
  connection->post(*query);
  if (const std::uint32_t refusal = connection->await(*query)) {
    throw error::EFatal("The server refuses: " + errorString(refusal));
  }
  std::vector<std::pair<const tqlquery::Result*, std::size_t>> rest{{query->find_result_opt(root), 0}};
  while (!rest.empty() && rest.back().first != nullptr) {
    const auto [object, depth] = rest.back();
    rest.pop_back();
    std::cout << std::string(2 * depth, ' ') << object->className << ' '
              << tqlquery::getStringProperty(*object, "siblingName") << '\n';
    for (auto child = object->children.rbegin(); child != object->children.rend(); ++child) {
      rest.emplace_back(child->get(), depth + 1);
    }
  }
} catch (const error::Exception& failure) {
  std::cerr << failure.text() << '\n';
  return 1;
}
