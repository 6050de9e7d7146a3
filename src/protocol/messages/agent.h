#pragma once

#include <cstdint>
#include <string>

#include "protocol/field.h"
#include "protocol/messages/lists.h"
#include "protocol/messages/time_series.h"

// What agents, the programs that run checks, say to their server, and how it configures them. This program
// takes no part in it: it knows these messages so that any of them can be read.
// Members named by kind and position (text0, flag3) are ones whose meaning only other programs know; so are
// the values of the enumerations.
namespace morvex::protocol {

enum class CheckType : std::int32_t {};
enum class Decision : std::int32_t {};
enum class SeparatorInclusion : std::int32_t {};

struct ActionConf final : Message<ActionConf> {
  std::string text0;
  static constexpr Field kFields[] = {
      field<&Self::text0>("text0", upTo(128)),
  };
  static constexpr Schema kSchema{.tag = sequence("BE_ACTION_CONF"), .fields = kFields};
};

struct ListOfActionConf : ListOf<Owned<ActionConf>> {
  using ListOf::ListOf;
};

struct ActionConfGroup;
struct ListOfActionConfGroup : ListOf<Owned<ActionConfGroup>> {
  using ListOf::ListOf;
};

struct ActionConfGroup final : Message<ActionConfGroup> {
  std::string text0;
  ListOfActionConfGroup groups;
  ListOfActionConf actions;
  static constexpr Field kFields[] = {
      field<&Self::text0>("text0", upTo(128)),
      field<&Self::groups>("groups"),
      field<&Self::actions>("actions"),
  };
  static constexpr Schema kSchema{.tag = sequence("BE_ACTION_CONF_GROUP"), .fields = kFields};
};

struct CheckinReq final : Message<CheckinReq> {
  ListOfCheckResult results;
  static constexpr Field kFields[] = {
      field<&Self::results>("results"),
  };
  static constexpr Schema kSchema{.tag = application(10), .fields = kFields};
};

struct CheckinResp final : Message<CheckinResp> {
  bool flag0 = false;
  bool flag1 = false;
  bool flag2 = false;
  ListOfActionConfGroup actionGroups;
  bool flag4 = false;
  static constexpr Field kFields[] = {
      field<&Self::flag0>("flag0"), field<&Self::flag1>("flag1"),
      field<&Self::flag2>("flag2"), field<&Self::actionGroups>("actionGroups"),
      field<&Self::flag4>("flag4"),
  };
  static constexpr Schema kSchema{.tag = application(11), .fields = kFields};
};

// ---- What an agent declares. ----

struct HostInfoLine final : Message<HostInfoLine> {
  std::string text0;
  std::string text1;
  static constexpr Field kFields[] = {
      field<&Self::text0>("text0", upTo(128)),
      field<&Self::text1>("text1", upTo(1024)),
  };
  static constexpr Schema kSchema{.tag = sequence("BE_HOST_INFO_LINE"), .fields = kFields};
};

struct ListOfHostInfoLine : ListOf<Owned<HostInfoLine>> {
  using ListOf::ListOf;
};

struct Check final : Message<Check> {
  std::string text0;
  std::string text1;
  std::string text2;
  CheckType type{};
  std::string text4;
  PlainValue value;
  PlainValue min;
  PlainValue max;
  std::int32_t int8 = 0;
  static constexpr Field kFields[] = {
      field<&Self::text0>("text0", upTo(128)),
      field<&Self::text1>("text1", upTo(128)),
      field<&Self::text2>("text2", upTo(512)),
      field<&Self::type>("type"),
      field<&Self::text4>("text4", upTo(128)),
      field<&Self::value>("value"),
      field<&Self::min>("min"),
      field<&Self::max>("max"),
      field<&Self::int8>("int8"),
  };
  static constexpr Schema kSchema{.tag = sequence("BE_CHECK"), .fields = kFields, .required = 7};
};

struct ListOfCheck : ListOf<Owned<Check>> {
  using ListOf::ListOf;
};

struct CheckGroup;
struct ListOfCheckGroup : ListOf<Owned<CheckGroup>> {
  using ListOf::ListOf;
};

struct CheckGroup final : Message<CheckGroup> {
  std::string text0;
  std::string text1;
  ListOfCheck checks;
  ListOfCheckGroup groups;
  std::string text4;
  bool flag5 = false;
  static constexpr Field kFields[] = {
      field<&Self::text0>("text0", upTo(128)), field<&Self::text1>("text1", upTo(128)),
      field<&Self::checks>("checks"),          field<&Self::groups>("groups"),
      field<&Self::text4>("text4", upTo(128)), field<&Self::flag5>("flag5"),
  };
  static constexpr Schema kSchema{.tag = sequence("BE_CHECK_GROUP"), .fields = kFields, .required = 4};
};

struct CheckDescription final : Message<CheckDescription> {
  std::int32_t int0 = 0;
  std::string text1;
  std::string text2;
  std::string text3;
  static constexpr Field kFields[] = {
      field<&Self::int0>("int0"),
      field<&Self::text1>("text1", upTo(128)),
      field<&Self::text2>("text2", upTo(128)),
      field<&Self::text3>("text3", upTo(128)),
  };
  static constexpr Schema kSchema{.tag = sequence("BE_CHECK_DESCRIPTION"), .fields = kFields};
};

struct ListOfCheckDescription : ListOf<Owned<CheckDescription>> {
  using ListOf::ListOf;
};

struct ConfigureReq final : Message<ConfigureReq> {
  std::int32_t int0 = 0;
  std::int32_t int1 = 0;
  std::int32_t int2 = 0;
  std::int32_t int3 = 0;
  std::int32_t int4 = 0;
  ListOfHostInfoLine hostInfo;
  ListOfCheckGroup checkGroups;
  ListOfCheckDescription descriptions;
  static constexpr Field kFields[] = {
      field<&Self::int0>("int0"),
      field<&Self::int1>("int1"),
      field<&Self::int2>("int2"),
      field<&Self::int3>("int3"),
      field<&Self::int4>("int4"),
      field<&Self::hostInfo>("hostInfo"),
      field<&Self::checkGroups>("checkGroups"),
      field<&Self::descriptions>("descriptions"),
  };
  static constexpr Schema kSchema{.tag = application(8), .fields = kFields, .required = 5};
};

// ---- What the server configures. ----

// The limits beyond which a check warns and raises the alarm.
template <class T>
struct Thresholds : Message<T> {
  PlainValue alertIfAbove;
  PlainValue alertIfBelow;
  PlainValue warnIfAbove;
  PlainValue warnIfBelow;
  static constexpr Field kFields[] = {
      field<&Thresholds::alertIfAbove>("alertIfAbove"),
      field<&Thresholds::alertIfBelow>("alertIfBelow"),
      field<&Thresholds::warnIfAbove>("warnIfAbove"),
      field<&Thresholds::warnIfBelow>("warnIfBelow"),
  };
};

struct ContinuousConf final : Thresholds<ContinuousConf> {
  static constexpr Schema kSchema{.tag = alternative(0), .fields = kFields, .required = 2};
};

struct EnumConf final : Message<EnumConf> {
  ListOfCheckStatus statuses;
  static constexpr Field kFields[] = {
      field<&Self::statuses>("statuses"),
  };
  static constexpr Schema kSchema{.tag = alternative(1), .fields = kFields};
};

struct LogConf final : Message<LogConf> {
  static constexpr Schema kSchema{.tag = alternative(2)};
};

struct RealContinuousConf final : Thresholds<RealContinuousConf> {
  static constexpr Schema kSchema{.tag = alternative(3), .fields = kFields, .required = 2};
};

struct Rule final : Message<Rule> {
  std::string text0;
  CheckStatus status{};
  Decision decision{};
  std::string text3;
  static constexpr Field kFields[] = {
      field<&Self::text0>("text0", upTo(1024)),
      field<&Self::status>("status"),
      field<&Self::decision>("decision"),
      field<&Self::text3>("text3", upTo(32)),
  };
  static constexpr Schema kSchema{.tag = sequence("BE_RULE"), .fields = kFields, .required = 3};
};

struct ListOfRule : ListOf<Owned<Rule>> {
  using ListOf::ListOf;
};

struct AdvLogConf final : Message<AdvLogConf> {
  std::string text0;
  SeparatorInclusion separatorInclusion{};
  ListOfRule rules;
  Nullable<std::int32_t> int3;
  Nullable<std::int32_t> int4;
  static constexpr Field kFields[] = {
      field<&Self::text0>("text0", upTo(1024)),
      field<&Self::separatorInclusion>("separatorInclusion"),
      field<&Self::rules>("rules"),
      field<&Self::int3>("int3"),
      field<&Self::int4>("int4"),
  };
  static constexpr Schema kSchema{.tag = alternative(4), .fields = kFields, .required = 3};
};

// A check to run. The bounds of int0 are those of a time of up to a day, in seconds, or -1.
struct CheckConf final : Message<CheckConf> {
  std::int32_t int0 = 0;
  std::string text1;
  OneOf<ContinuousConf, EnumConf, LogConf, RealContinuousConf, AdvLogConf> conf;  // how to judge its results
  std::string text3;
  static constexpr Field kFields[] = {
      field<&Self::int0>("int0", between(-1, 86400)),
      field<&Self::text1>("text1", upTo(128)),
      field<&Self::conf>("conf"),
      field<&Self::text3>("text3", upTo(32)),
  };
  static constexpr Schema kSchema{.tag = sequence("BE_CHECK_CONF"), .fields = kFields, .required = 3};
};

struct ListOfCheckConf : ListOf<Owned<CheckConf>> {
  using ListOf::ListOf;
};

struct CheckConfGroup;
struct ListOfCheckConfGroup : ListOf<Owned<CheckConfGroup>> {
  using ListOf::ListOf;
};

struct CheckConfGroup final : Message<CheckConfGroup> {
  std::string text0;
  ListOfCheckConf confs;
  ListOfCheckConfGroup groups;
  static constexpr Field kFields[] = {
      field<&Self::text0>("text0", upTo(128)),
      field<&Self::confs>("confs"),
      field<&Self::groups>("groups"),
  };
  static constexpr Schema kSchema{.tag = sequence("BE_CHECK_CONF_GROUP"), .fields = kFields};
};

struct ServerNamePort final : Message<ServerNamePort> {
  std::string name;
  std::int32_t port = 0;
  static constexpr Field kFields[] = {
      field<&Self::name>("name", upTo(256)),
      field<&Self::port>("port", between(1, 65535)),
  };
  static constexpr Schema kSchema{.tag = sequence("BE_SERVER_NAME_PORT"), .fields = kFields};
};

struct ListOfServerNamePort : ListOf<Owned<ServerNamePort>> {
  using ListOf::ListOf;
};

struct ConfigureResp final : Message<ConfigureResp> {
  std::string text0;
  std::int32_t int1 = 0;
  ListOfServerNamePort servers;
  ListOfCheckConfGroup confGroups;
  static constexpr Field kFields[] = {
      field<&Self::text0>("text0", upTo(128)),
      field<&Self::int1>("int1", between(-1, 86400)),
      field<&Self::servers>("servers"),
      field<&Self::confGroups>("confGroups"),
  };
  static constexpr Schema kSchema{.tag = application(9), .fields = kFields};
};

// ---- Hardware scan and downtime. ----

struct DowntimeReq final : Message<DowntimeReq> {
  std::int32_t int0 = 0;
  static constexpr Field kFields[] = {
      field<&Self::int0>("int0"),
  };
  static constexpr Schema kSchema{.tag = application(30), .fields = kFields};
};

struct DowntimeResp final : Message<DowntimeResp> {
  bool flag0 = false;
  std::string text1;
  static constexpr Field kFields[] = {
      field<&Self::flag0>("flag0"),
      field<&Self::text1>("text1", upTo(1024)),
  };
  static constexpr Schema kSchema{.tag = application(31), .fields = kFields};
};

struct HWScanReq final : Message<HWScanReq> {
  static constexpr Schema kSchema{.tag = application(32)};
};

struct HWScanResp final : Message<HWScanResp> {
  bool flag0 = false;
  static constexpr Field kFields[] = {
      field<&Self::flag0>("flag0"),
  };
  static constexpr Schema kSchema{.tag = application(33), .fields = kFields};
};

}  // namespace morvex::protocol
