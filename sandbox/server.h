#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "foundation/big_num.h"
#include "platform/listener.h"
#include "sandbox/activity.h"
#include "sandbox/handler.h"
#include "sandbox/options.h"

namespace morvex::sandbox {

// The sessions of this run, which can be reopened as long as it lasts.
class Sessions {
 public:
  BigNum issue();
  bool isIssued(const BigNum& key) const;

 private:
  std::uint32_t count_ = 0;
};

// What the clients share.
struct Service {
  const Options& options;
  Handler& handler;
  Activity& activity;
  Sessions sessions;
};

class Client;

// Serves all clients in one thread. No client waits long for another: input is taken as it comes, an answer
// goes out in portions as its client takes them, and long work is done in turns. A client for which much
// waits is not read until it takes some of that.
class Server {
 public:
  // Both must outlive the server.
  Server(Listener& listener, Service& service);
  ~Server();

  // Returns once a stop was requested. Throws error::ESystemError.
  void run();

 private:
  void wait();
  void serveClients();
  void acceptClients();

  Listener& listener_;
  Service& service_;
  std::vector<std::unique_ptr<Client>> clients_;
  std::vector<Watch> watches_;  // of the clients, and behind them of the listener
  bool exhausted_ = false;      // no descriptor was left for a further client
};

}  // namespace morvex::sandbox
