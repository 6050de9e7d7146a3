#include "query/call.h"

#include <gtest/gtest.h>

#include "query/tql/property_codec.h"
#include "support/wire.h"

using namespace morvex;

namespace {

using tqlquery::Call;
using tqlquery::Result;

TEST(Call, CarriesPropertiesAndObjects) {
  protocol::ListOfProperty parameters;
  tql::encode(parameters.emplace_back(), "name", tql::kStringList, std::list<std::string>{"cpu", "", "0"});
  Result object;
  object.className = "G";
  object.id = "1F";
  const auto call = comquery::make<Call>(3, parameters, std::vector<const Result*>{&object});
  EXPECT_EQ(writtenHex(*call->encode()),
            plainHex("A9 80 02 01 03"
                     "  30 80 30 80 04 04 'name' 02 01 0B"
                     "    A1 80 30 80 04 03 'cpu' 04 00 04 01 '0' 00 00 00 00 00 00 00 00"
                     "  30 80 30 80 04 01 'G' 02 01 00 04 02 '1F' 04 00"
                     "    30 80 00 00 30 80 00 00 31 80 00 00 00 00 00 00 00 00"));
}

}  // namespace
