#pragma once

#include <cstdint>
#include <string>

#include "foundation/big_num.h"
#include "protocol/field.h"

// The messages that open and reopen a session, and the key exchange and keep-alive messages beside them.
// Members named by kind and position (text0, flag3) are ones whose meaning only other programs know.
namespace morvex::protocol {

struct ClientNoAuth final : Message<ClientNoAuth> {
  static constexpr Schema kSchema{.tag = alternative(0)};
};

struct ClientPrivateKey final : Message<ClientPrivateKey> {
  std::string text0, text1, text2;
  bool flag3 = false, flag4 = false, flag5 = false;
  static constexpr Field kFields[] = {
      field<&Self::text0>("text0", upTo(256)),
      field<&Self::text1>("text1", upTo(1024)),
      field<&Self::text2>("text2", upTo(128)),
      field<&Self::flag3>("flag3"),
      field<&Self::flag4>("flag4"),
      field<&Self::flag5>("flag5"),
  };
  static constexpr Schema kSchema{.tag = alternative(1), .fields = kFields, .required = 4};
};

struct ClientPassword final : Message<ClientPassword> {
  static constexpr Schema kSchema{.tag = alternative(2)};
};

// What both sides of a link handshake say.
template <class T>
struct LinkHandshake : Message<T> {
  std::uint32_t uint0 = 0;
  BigNum bignum1, bignum2, bignum3, bignum4;
  static constexpr Field kFields[] = {
      field<&LinkHandshake::uint0>("uint0"),     field<&LinkHandshake::bignum1>("bignum1"),
      field<&LinkHandshake::bignum2>("bignum2"), field<&LinkHandshake::bignum3>("bignum3"),
      field<&LinkHandshake::bignum4>("bignum4"),
  };
};

struct WantsLinkHandshake final : LinkHandshake<WantsLinkHandshake> {
  static constexpr Schema kSchema{.tag = alternative(3), .fields = kFields};
};

struct ServerNoAuth final : Message<ServerNoAuth> {
  static constexpr Schema kSchema{.tag = alternative(0)};
};

struct ServerPrivateKey final : Message<ServerPrivateKey> {
  bool flag0 = false, flag1 = false;
  static constexpr Field kFields[] = {field<&Self::flag0>("flag0"), field<&Self::flag1>("flag1")};
  static constexpr Schema kSchema{.tag = alternative(1), .fields = kFields, .required = 1};
};

struct ServerPassword final : Message<ServerPassword> {
  static constexpr Schema kSchema{.tag = alternative(2)};
};

struct LinkHandshakeInit final : LinkHandshake<LinkHandshakeInit> {
  static constexpr Schema kSchema{.tag = alternative(3), .fields = kFields};
};

// The protocol version is major times 256 plus minor.
struct ClientWants final : Message<ClientWants> {
  std::int32_t version = 0;
  OneOf<ClientNoAuth, ClientPrivateKey, ClientPassword, WantsLinkHandshake> authentication;
  static constexpr Field kFields[] = {
      field<&Self::version>("version", between(0, 65535)),
      field<&Self::authentication>("authentication"),
  };
  static constexpr Schema kSchema{.tag = application(0), .fields = kFields};
};

struct ServerOffers final : Message<ServerOffers> {
  std::int32_t version = 0;
  OneOf<ServerNoAuth, ServerPrivateKey, ServerPassword, LinkHandshakeInit> authentication;
  static constexpr Field kFields[] = {
      field<&Self::version>("version", between(0, 65535)),
      field<&Self::authentication>("authentication"),
  };
  static constexpr Schema kSchema{.tag = application(1), .fields = kFields};
};

struct NegotiateAck final : Message<NegotiateAck> {
  static constexpr Schema kSchema{.tag = application(2)};
};

struct NegotiateNack final : Message<NegotiateNack> {
  std::string reason;
  static constexpr Field kFields[] = {field<&Self::reason>("reason", upTo(1024))};
  static constexpr Schema kSchema{.tag = application(3), .fields = kFields};
};

// The log-in of a user. Nothing in it protects the password: the stream is plain TCP.
struct NewSession final : Message<NewSession> {
  std::string domain;
  std::string login;
  std::string clientName;
  std::string password;
  static constexpr Field kFields[] = {
      field<&Self::domain>("domain", upTo(1024)),
      field<&Self::login>("login", upTo(128)),
      field<&Self::clientName>("clientName", upTo(256)),
      field<&Self::password>("password", upTo(128)),
  };
  static constexpr Schema kSchema{.tag = application(16), .fields = kFields};
};

// The answer to NewSession and ReopenSession. serverTime is in seconds since 1970; rootId names the object at
// which the tree starts for this login.
struct NewSessionResp final : Message<NewSessionResp> {
  BigNum sessionKey;
  std::int32_t serverTime = 0;
  std::string rootId;
  std::string text3;
  std::string text4;
  static constexpr Field kFields[] = {
      field<&Self::sessionKey>("sessionKey"),   field<&Self::serverTime>("serverTime"),
      field<&Self::rootId>("rootId", upTo(32)), field<&Self::text3>("text3", upTo(32)),
      field<&Self::text4>("text4", upTo(32)),
  };
  static constexpr Schema kSchema{.tag = application(17), .fields = kFields};
};

struct ReopenSession final : Message<ReopenSession> {
  BigNum sessionKey;
  static constexpr Field kFields[] = {
      field<&Self::sessionKey>("sessionKey"),
  };
  static constexpr Schema kSchema{.tag = application(18), .fields = kFields};
};

struct EndSession final : Message<EndSession> {
  BigNum bignum0;
  static constexpr Field kFields[] = {
      field<&Self::bignum0>("bignum0"),
  };
  static constexpr Schema kSchema{.tag = application(19), .fields = kFields};
};

struct DiffieHellmannParameters final : Message<DiffieHellmannParameters> {
  BigNum bignum0;
  BigNum bignum1;
  static constexpr Field kFields[] = {
      field<&Self::bignum0>("bignum0"),
      field<&Self::bignum1>("bignum1"),
  };
  static constexpr Schema kSchema{.tag = application(4), .fields = kFields, .required = 1};
};

struct SporadicBignum final : Message<SporadicBignum> {
  BigNum bignum0;
  static constexpr Field kFields[] = {
      field<&Self::bignum0>("bignum0"),
  };
  static constexpr Schema kSchema{.tag = application(5), .fields = kFields};
};

struct AuthChallenge final : Message<AuthChallenge> {
  BigNum challenge;
  static constexpr Field kFields[] = {
      field<&Self::challenge>("challenge"),
  };
  static constexpr Schema kSchema{.tag = application(6), .fields = kFields};
};

struct AuthResponse final : Message<AuthResponse> {
  BigNum response;
  static constexpr Field kFields[] = {
      field<&Self::response>("response"),
  };
  static constexpr Schema kSchema{.tag = application(7), .fields = kFields};
};

struct GSLNonce final : Message<GSLNonce> {
  BigNum nonce;
  static constexpr Field kFields[] = {
      field<&Self::nonce>("nonce"),
  };
  static constexpr Schema kSchema{.tag = application(26), .fields = kFields};
};

struct GSLSignedNonce final : Message<GSLSignedNonce> {
  BigNum signedNonce;
  static constexpr Field kFields[] = {
      field<&Self::signedNonce>("signedNonce"),
  };
  static constexpr Schema kSchema{.tag = application(27), .fields = kFields};
};

struct GSLKeepAlive final : Message<GSLKeepAlive> {
  std::int32_t int0 = 0;
  static constexpr Field kFields[] = {
      field<&Self::int0>("int0"),
  };
  static constexpr Schema kSchema{.tag = application(29), .fields = kFields};
};

// A moment, in seconds since 1970 and microseconds.
template <class T>
struct Moment : Message<T> {
  std::int32_t seconds = 0;
  std::int32_t microseconds = 0;
  static constexpr Field kFields[] = {
      field<&Moment::seconds>("seconds"),
      field<&Moment::microseconds>("microseconds", between(0, 999999)),
  };
};

struct ServerTimeReq final : Moment<ServerTimeReq> {
  static constexpr Schema kSchema{.tag = application(23), .fields = kFields};
};

struct ServerTimeResp final : Moment<ServerTimeResp> {
  static constexpr Schema kSchema{.tag = application(24), .fields = kFields};
};

}  // namespace morvex::protocol
