#include "protocol/catalogue.h"

#include <string>

#include "protocol/ber_error.h"
#include "protocol/messages/agent.h"
#include "protocol/messages/envelope.h"
#include "protocol/messages/grid.h"
#include "protocol/messages/handshake.h"

namespace morvex::protocol {

template <class T>
const Tag& Message<T>::wireTag() {
  return T::kSchema.tag;
}

template <class T>
const Schema& Message<T>::schema() const {
  return T::kSchema;
}

template <class T>
std::unique_ptr<Record> Message<T>::blank() const {
  return std::make_unique<T>();
}

template <class T>
std::uint32_t Message<T>::tag(bool legacy) const {
  return T::kSchema.tag.word(legacy);
}

template <class T>
BerValue* Message<T>::makeField(std::uint32_t index, std::uint32_t tag, bool legacy, FieldSlot& slot) {
  return openField(T::kSchema, index, tag, legacy, slot);
}

template <class T>
std::size_t Message<T>::takePlain(std::uint32_t& index, std::span<const std::uint8_t> bytes, bool legacy) {
  return takePlainFields(T::kSchema, index, bytes, legacy);
}

template <class T>
std::uint32_t Message<T>::minFields() const {
  return static_cast<std::uint32_t>(T::kSchema.required);
}

// messages/agent.h
template struct Message<ActionConf>;
template struct Message<ActionConfGroup>;
template struct Message<CheckinReq>;
template struct Message<CheckinResp>;
template struct Message<HostInfoLine>;
template struct Message<Check>;
template struct Message<CheckGroup>;
template struct Message<CheckDescription>;
template struct Message<ConfigureReq>;
template struct Message<ContinuousConf>;
template struct Message<EnumConf>;
template struct Message<LogConf>;
template struct Message<RealContinuousConf>;
template struct Message<Rule>;
template struct Message<AdvLogConf>;
template struct Message<CheckConf>;
template struct Message<CheckConfGroup>;
template struct Message<ServerNamePort>;
template struct Message<ConfigureResp>;
template struct Message<DowntimeReq>;
template struct Message<DowntimeResp>;
template struct Message<HWScanReq>;
template struct Message<HWScanResp>;

// messages/handshake.h
template struct Message<ClientNoAuth>;
template struct Message<ClientPrivateKey>;
template struct Message<ClientPassword>;
template struct Message<WantsLinkHandshake>;
template struct Message<ServerNoAuth>;
template struct Message<ServerPrivateKey>;
template struct Message<ServerPassword>;
template struct Message<LinkHandshakeInit>;
template struct Message<ClientWants>;
template struct Message<ServerOffers>;
template struct Message<NegotiateAck>;
template struct Message<NegotiateNack>;
template struct Message<NewSession>;
template struct Message<NewSessionResp>;
template struct Message<ReopenSession>;
template struct Message<EndSession>;
template struct Message<DiffieHellmannParameters>;
template struct Message<SporadicBignum>;
template struct Message<AuthChallenge>;
template struct Message<AuthResponse>;
template struct Message<GSLNonce>;
template struct Message<GSLSignedNonce>;
template struct Message<GSLKeepAlive>;
template struct Message<ServerTimeReq>;
template struct Message<ServerTimeResp>;

// messages/grid.h
template struct Message<GridMessage>;
template struct Message<GridDataIntervalList>;
template struct Message<GridPropertyList>;
template struct Message<UpgradeReq>;
template struct Message<UpgradeResp>;

// messages/object_tree.h
template struct Message<StringProp>;
template struct Message<StringListProp>;
template struct Message<SignedIntProp>;
template struct Message<UnsignedIntProp>;
template struct Message<RealProp>;
template struct Message<BooleanProp>;
template struct Message<NullProp>;
template struct Message<BlobProp>;
template struct Message<UnsignedIntListProp>;
template struct Message<SignedInt64Prop>;
template struct Message<UnsignedInt64Prop>;
template struct Message<BigNumProp>;
template struct Message<LobProp>;
template struct Message<Property>;
template struct Message<Object>;
template struct Message<RelativeExpr>;
template struct Message<PathPattern>;
template struct Message<SelectReq>;
template struct Message<SelectResp>;
template struct Message<CreateReq>;
template struct Message<CreateResp>;
template struct Message<UpdateReq>;
template struct Message<UpdateResp>;
template struct Message<EraseReq>;
template struct Message<EraseResp>;
template struct Message<CallReq>;
template struct Message<CallResp>;
template struct Message<ErrorResp>;

// messages/time_series.h
template struct Message<DataIntervalRawElement>;
template struct Message<DataIntervalRawDEPRECATED>;
template struct Message<DataIntervalIncident>;
template struct Message<DataIntervalContinuousDEPRECATED>;
template struct Message<DataIntervalSawtooth>;
template struct Message<DataIntervalEnum>;
template struct Message<DataIntervalContinuous>;
template struct Message<DataInterval>;
template struct Message<GetDataReq>;
template struct Message<GetDataResp>;
template struct Message<GetLastDataReq>;
template struct Message<GetLastDataResp>;
template struct Message<PutDataReq>;
template struct Message<PutDataResp>;
template struct Message<ForgetReq>;
template struct Message<ForgetResp>;
template struct Message<CheckResult>;

// messages/envelope.h
template struct Message<Request>;
template struct Message<Response>;

namespace {

// The top of the stream is a union like those below it.
using TopLevel =
    OneOf<ClientWants, ServerOffers, NegotiateAck, NegotiateNack, DiffieHellmannParameters, SporadicBignum,
          AuthChallenge, AuthResponse, ConfigureReq, ConfigureResp, CheckinReq, CheckinResp, UpgradeReq,
          UpgradeResp, NewSession, NewSessionResp, ReopenSession, EndSession, Request, Response,
          GridPropertyList, ServerTimeReq, ServerTimeResp, GridDataIntervalList, GSLNonce, GSLSignedNonce,
          GridMessage, GSLKeepAlive, DowntimeReq, DowntimeResp, HWScanReq, HWScanResp>;

}  // namespace

std::unique_ptr<BerValue> guiProtocol::makeMessage(std::uint32_t tag, bool legacy) const {
  std::unique_ptr<BerValue> message = TopLevel::make(tag, legacy);
  if (message == nullptr) {
    throw EBer("Unknown tag " + std::to_string(tag));
  }
  return message;
}

const guiProtocol& guiProtocol::instance() {
  static const guiProtocol theOne;
  return theOne;
}

}  // namespace morvex::protocol
