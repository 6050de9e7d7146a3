#pragma once

#include <cstdint>
#include <string>

#include "foundation/big_num.h"
#include "protocol/field.h"
#include "protocol/messages/lists.h"

// The messages that work on the server's object tree: the object, its properties, the pattern that selects
// objects, and the requests and answers that carry them.
namespace morvex::protocol {

struct Object;
struct Property;
struct PathPattern;
struct RelativeExpr;

struct ListOfObject : ListOf<Owned<Object>> {
  using ListOf::ListOf;
};
struct ListOfPathPattern : ListOf<Owned<PathPattern>> {
  using ListOf::ListOf;
};
struct ListOfProperty : ListOf<Property> {
  using ListOf::ListOf;
};
struct ListOfRelativeExpr : ListOf<Owned<RelativeExpr>> {
  using ListOf::ListOf;
};

struct StringProp final : Message<StringProp> {
  std::string value;
  static constexpr Field kFields[] = {
      field<&Self::value>("value", upTo(1024)),
  };
  static constexpr Schema kSchema{.tag = alternative(0), .fields = kFields};
};

struct StringListProp final : Message<StringListProp> {
  ListOfString1024 value;
  static constexpr Field kFields[] = {
      field<&Self::value>("value"),
  };
  static constexpr Schema kSchema{.tag = alternative(1), .fields = kFields};
};

struct SignedIntProp final : Message<SignedIntProp> {
  std::int32_t value = 0;
  static constexpr Field kFields[] = {
      field<&Self::value>("value"),
  };
  static constexpr Schema kSchema{.tag = alternative(2), .fields = kFields};
};

struct UnsignedIntProp final : Message<UnsignedIntProp> {
  std::uint32_t value = 0;
  static constexpr Field kFields[] = {
      field<&Self::value>("value"),
  };
  static constexpr Schema kSchema{.tag = alternative(3), .fields = kFields};
};

struct RealProp final : Message<RealProp> {
  double value = 0;
  static constexpr Field kFields[] = {
      field<&Self::value>("value"),
  };
  static constexpr Schema kSchema{.tag = alternative(4), .fields = kFields};
};

struct BooleanProp final : Message<BooleanProp> {
  bool value = false;
  static constexpr Field kFields[] = {
      field<&Self::value>("value"),
  };
  static constexpr Schema kSchema{.tag = alternative(5), .fields = kFields};
};

struct NullProp final : Message<NullProp> {
  static constexpr Schema kSchema{.tag = alternative(6)};
};

struct BlobProp final : Message<BlobProp> {
  std::string value;
  static constexpr Field kFields[] = {
      field<&Self::value>("value", upTo(2048)),
  };
  static constexpr Schema kSchema{.tag = alternative(7), .fields = kFields};
};

struct UnsignedIntListProp final : Message<UnsignedIntListProp> {
  ListOfInteger0x0to0xffffffff value;
  static constexpr Field kFields[] = {
      field<&Self::value>("value"),
  };
  static constexpr Schema kSchema{.tag = alternative(8), .fields = kFields};
};

struct SignedInt64Prop final : Message<SignedInt64Prop> {
  std::int64_t value = 0;
  static constexpr Field kFields[] = {
      field<&Self::value>("value"),
  };
  static constexpr Schema kSchema{.tag = alternative(9), .fields = kFields};
};

struct UnsignedInt64Prop final : Message<UnsignedInt64Prop> {
  std::uint64_t value = 0;
  static constexpr Field kFields[] = {
      field<&Self::value>("value"),
  };
  static constexpr Schema kSchema{.tag = alternative(10), .fields = kFields};
};

struct BigNumProp final : Message<BigNumProp> {
  BigNum value;
  static constexpr Field kFields[] = {
      field<&Self::value>("value"),
  };
  static constexpr Schema kSchema{.tag = alternative(11), .fields = kFields};
};

struct LobProp final : Message<LobProp> {
  std::string value;
  static constexpr Field kFields[] = {
      field<&Self::value>("value", upTo(2097152)),
  };
  static constexpr Schema kSchema{.tag = alternative(12), .fields = kFields};
};

// A value under its name. The low 17 bits of typeWord must fit the class in data; the codec in query/tql sees
// to that.
struct Property final : Message<Property> {
  std::string name;
  std::uint32_t typeWord = 0;
  OneOf<StringProp, StringListProp, SignedIntProp, UnsignedIntProp, RealProp, BooleanProp, NullProp, BlobProp,
        UnsignedIntListProp, SignedInt64Prop, UnsignedInt64Prop, BigNumProp, LobProp>
      data;
  static constexpr Field kFields[] = {
      field<&Self::name>("name", upTo(128)),
      field<&Self::typeWord>("typeWord"),
      field<&Self::data>("data"),
  };
  static constexpr Schema kSchema{.tag = sequence("BE_PROPERTY"), .fields = kFields};
};

// One object of the tree and those below it. version is what an update has to quote.
struct Object final : Message<Object> {
  std::string className;
  std::uint32_t objectNumber = 0;
  std::string id;
  std::string version;
  ListOfProperty properties;
  ListOfObject children;
  SetOfInteger0x0to0xffffffff objectSet;
  static constexpr Field kFields[] = {
      field<&Self::className>("className", upTo(128)),
      field<&Self::objectNumber>("objectNumber"),
      field<&Self::id>("id", upTo(32)),
      field<&Self::version>("version", upTo(52)),
      field<&Self::properties>("properties"),
      field<&Self::children>("children"),
      field<&Self::objectSet>("objectSet"),
  };
  static constexpr Schema kSchema{.tag = sequence("BE_OBJECT"), .fields = kFields};
};

// How a filter compares. The values are those of the wire; the server alone knows from matches on.
enum class RelOperator : std::int32_t {
  equal = 0,
  greater = 1,
  less = 2,
  greaterOrEqual = 3,
  lessOrEqual = 4,
  notEqual = 5,
  matches = 6,
  matchesNot = 7,
  in = 8,
  intersects = 9,
  subsetOf = 10,
  supersetOf = 11,
  isSubstring = 12,
};

// One term of a filter: the property with the constant that it is compared with.
struct RelativeExpr final : Message<RelativeExpr> {
  Owned<Property> prop;
  RelOperator op{};
  static constexpr Field kFields[] = {
      field<&Self::prop>("prop"),
      field<&Self::op>("op"),
  };
  static constexpr Schema kSchema{.tag = sequence("BE_RELATIVE_EXPR"), .fields = kFields};
};

// One step of a query: what it matches, which properties it wants of that, and the steps behind it.
struct PathPattern final : Message<PathPattern> {
  std::string className;
  std::uint32_t flags = 0;
  Nullable<std::uint32_t> number;
  ListOfPathPattern children;
  ListOfPathPattern colonChildren;
  ListOfRelativeExpr filter;
  SetOfString128 properties;
  static constexpr Field kFields[] = {
      field<&Self::className>("className", upTo(128)),
      field<&Self::flags>("flags"),
      field<&Self::number>("number"),
      field<&Self::children>("children"),
      field<&Self::colonChildren>("colonChildren"),
      field<&Self::filter>("filter"),
      field<&Self::properties>("properties"),
  };
  static constexpr Schema kSchema{.tag = sequence("BE_PATH_PATTERN"), .fields = kFields};
};

struct SelectReq final : Message<SelectReq> {
  SetOfString32 startIds;
  Owned<PathPattern> pattern;
  std::uint32_t options = 0;
  static constexpr Field kFields[] = {
      field<&Self::startIds>("startIds"),
      field<&Self::pattern>("pattern"),
      field<&Self::options>("options"),
  };
  static constexpr Schema kSchema{.tag = alternative(0), .fields = kFields};
};

struct SelectResp final : Message<SelectResp> {
  ListOfObject objects;
  static constexpr Field kFields[] = {
      field<&Self::objects>("objects"),
  };
  static constexpr Schema kSchema{.tag = alternative(0), .fields = kFields};
};

struct CreateReq final : Message<CreateReq> {
  std::string parentId;
  std::string className;
  ListOfProperty properties;
  static constexpr Field kFields[] = {
      field<&Self::parentId>("parentId", upTo(32)),
      field<&Self::className>("className", upTo(128)),
      field<&Self::properties>("properties"),
  };
  static constexpr Schema kSchema{.tag = alternative(3), .fields = kFields};
};

struct CreateResp final : Message<CreateResp> {
  std::string id;
  std::string version;
  static constexpr Field kFields[] = {
      field<&Self::id>("id", upTo(32)),
      field<&Self::version>("version", upTo(52)),
  };
  static constexpr Schema kSchema{.tag = alternative(3), .fields = kFields, .required = 1};
};

struct UpdateReq final : Message<UpdateReq> {
  std::string id;
  std::string version;
  ListOfProperty properties;
  static constexpr Field kFields[] = {
      field<&Self::id>("id", upTo(32)),
      field<&Self::version>("version", upTo(52)),
      field<&Self::properties>("properties"),
  };
  static constexpr Schema kSchema{.tag = alternative(2), .fields = kFields};
};

struct UpdateResp final : Message<UpdateResp> {
  std::string version;
  static constexpr Field kFields[] = {
      field<&Self::version>("version", upTo(52)),
  };
  static constexpr Schema kSchema{.tag = alternative(2), .fields = kFields, .required = 0};
};

struct EraseReq final : Message<EraseReq> {
  std::string id;
  std::string version;
  static constexpr Field kFields[] = {
      field<&Self::id>("id", upTo(32)),
      field<&Self::version>("version", upTo(52)),
  };
  static constexpr Schema kSchema{.tag = alternative(1), .fields = kFields};
};

struct EraseResp final : Message<EraseResp> {
  static constexpr Schema kSchema{.tag = alternative(1)};
};

struct CallReq final : Message<CallReq> {
  std::int32_t method = 0;
  ListOfProperty parameters;
  ListOfObject objects;
  static constexpr Field kFields[] = {
      field<&Self::method>("method"),
      field<&Self::parameters>("parameters"),
      field<&Self::objects>("objects"),
  };
  static constexpr Schema kSchema{.tag = alternative(9), .fields = kFields, .required = 2};
};

struct CallResp final : Message<CallResp> {
  ListOfProperty properties;
  ListOfObject objects;
  static constexpr Field kFields[] = {
      field<&Self::properties>("properties"),
      field<&Self::objects>("objects"),
  };
  static constexpr Schema kSchema{.tag = alternative(10), .fields = kFields};
};

// A refusal, in place of any other answer. code is one that errorText knows.
struct ErrorResp final : Message<ErrorResp> {
  std::int32_t code = 0;
  ListOfString1024 args;
  static constexpr Field kFields[] = {
      field<&Self::code>("code"),
      field<&Self::args>("args"),
  };
  static constexpr Schema kSchema{.tag = alternative(8), .fields = kFields};
};

}  // namespace morvex::protocol
