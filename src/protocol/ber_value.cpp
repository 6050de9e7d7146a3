#include "protocol/ber_value.h"

#include <typeinfo>

#include "foundation/class_name.h"

namespace protocol {

std::string BerConstructed::name() const { return className(typeid(*this)); }

}  // namespace protocol
