#include "protocol/ber_value.h"

#include <typeinfo>

#include "foundation/class_name.h"

namespace morvex::protocol {

std::string BerConstructed::name() const { return className(typeid(*this)); }

}  // namespace morvex::protocol
