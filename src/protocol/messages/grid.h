#pragma once

#include <cstdint>
#include <string>

#include "protocol/field.h"
#include "protocol/messages/object_tree.h"
#include "protocol/messages/time_series.h"

// What servers of a grid send each other, and the upgrade of an agent. This program takes no part in it: it
// knows these messages so that any of them can be read.
namespace morvex::protocol {

struct GridMessage final : Message<GridMessage> {
  std::int32_t int0 = 0;
  std::uint32_t uint1 = 0;
  std::uint32_t uint2 = 0;
  bool flag3 = false;
  std::string text4;
  static constexpr Field kFields[] = {
      field<&Self::int0>("int0", between(0, 65535)),
      field<&Self::uint1>("uint1"),
      field<&Self::uint2>("uint2"),
      field<&Self::flag3>("flag3"),
      field<&Self::text4>("text4", upTo(65536)),
  };
  static constexpr Schema kSchema{.tag = application(28), .fields = kFields};
};

struct GridDataIntervalList final : Message<GridDataIntervalList> {
  ListOfDataInterval intervals;
  static constexpr Field kFields[] = {
      field<&Self::intervals>("intervals"),
  };
  static constexpr Schema kSchema{.tag = application(25), .fields = kFields};
};

struct GridPropertyList final : Message<GridPropertyList> {
  ListOfProperty properties;
  static constexpr Field kFields[] = {
      field<&Self::properties>("properties"),
  };
  static constexpr Schema kSchema{.tag = application(22), .fields = kFields};
};

struct UpgradeReq final : Message<UpgradeReq> {
  std::int32_t int0 = 0;
  std::int32_t int1 = 0;
  std::int32_t int2 = 0;
  std::int32_t int3 = 0;
  std::int32_t int4 = 0;
  static constexpr Field kFields[] = {
      field<&Self::int0>("int0"), field<&Self::int1>("int1"), field<&Self::int2>("int2"),
      field<&Self::int3>("int3"), field<&Self::int4>("int4"),
  };
  static constexpr Schema kSchema{.tag = application(12), .fields = kFields, .required = 3};
};

struct UpgradeResp final : Message<UpgradeResp> {
  std::int32_t int0 = 0;
  std::string text1;
  static constexpr Field kFields[] = {
      field<&Self::int0>("int0"),
      field<&Self::text1>("text1", upTo(1048576)),
  };
  static constexpr Schema kSchema{.tag = application(13), .fields = kFields};
};

}  // namespace morvex::protocol
