#pragma once

#include <memory>
#include <vector>

#include "platform/listener.h"
#include "sandbox/client.h"

namespace morvex::sandbox {

// Serves all clients in one thread. None of them waits for another: input is taken as it comes, and an answer
// goes out in portions as its client takes them.
class Server {
 public:
  Server(Listener& listener, Service& service) : listener_(listener), service_(service) {}

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
  bool exhausted_ = false;      // no descriptor is left for a further client
};

}  // namespace morvex::sandbox
