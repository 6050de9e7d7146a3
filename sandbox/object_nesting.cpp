#include "sandbox/object_nesting.h"

#include "protocol/messages/object_tree.h"

namespace morvex::sandbox {

void ObjectNesting::begin(ItemWriter& to, std::uint32_t depth, const std::string& className,
                          std::uint32_t number, const std::string& id, const std::string& version) {
  closeDownTo(to, depth);
  to.open(protocol::Object::kSchema.tag);
  to.text(className);
  to.number(number);
  to.text(id);
  to.text(version);
  to.open(protocol::BE_SEQ);
}

void ObjectNesting::endProperties(ItemWriter& to) {
  to.close();
  to.open(protocol::BE_SEQ);
  ++open_;
}

void ObjectNesting::closeDownTo(ItemWriter& to, std::uint32_t depth) {
  for (; open_ > depth; --open_) {
    to.close();  // its children
    to.open(protocol::BE_SET);
    to.close();
    to.close();
  }
}

}  // namespace morvex::sandbox
