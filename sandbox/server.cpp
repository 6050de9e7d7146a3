#include "sandbox/server.h"

#include <algorithm>
#include <optional>

namespace morvex::sandbox {
namespace {

std::chrono::milliseconds until(Time due, Time now) {
  return std::max(std::chrono::ceil<std::chrono::milliseconds>(due - now), std::chrono::milliseconds(0));
}

}  // namespace

void Server::run() {
  while (!stopRequested()) {
    wait();
    serveClients();
    if (watches_.back().input) {
      acceptClients();
    }
  }
}

void Server::wait() {
  const Time now = std::chrono::steady_clock::now();
  std::optional<Time> due;
  watches_.clear();
  for (const auto& client : clients_) {
    watches_.push_back({client->handle(), client->wantsInput(), client->wantsOutput(now)});
    if (const auto turn = client->nextTurn(now); turn && (!due || *turn < *due)) {
      due = turn;
    }
  }
  watches_.push_back({listener_.handle(), !exhausted_, false});
  waitForSockets(watches_, due ? std::optional(until(*due, now)) : std::nullopt);
}

void Server::serveClients() {
  for (std::size_t i = 0; i < clients_.size(); ++i) {
    Client& client = *clients_[i];
    const Time now = std::chrono::steady_clock::now();
    if (watches_[i].failed) {
      client.drop();
      continue;
    }
    if (watches_[i].input || client.hasBacklog()) {
      client.takeInput(now);
    }
    if (!client.isGone()) {
      client.giveOutput(now);
    }
  }
  if (std::erase_if(clients_, [](const auto& client) { return client->isGone(); }) > 0) {
    exhausted_ = false;
  }
}

void Server::acceptClients() {
  while (std::optional<Peer> peer = listener_.accept(exhausted_)) {
    clients_.push_back(std::make_unique<Client>(std::move(*peer), service_));
  }
}

}  // namespace morvex::sandbox
