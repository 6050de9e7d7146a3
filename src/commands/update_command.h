#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <string>

#include "query/result.h"
#include "query/update.h"

// The update of an object by name and value texts.

// Tells the user what the server refuses. That the object has changed since it was read is no matter for the
// user: the command tries again.
class ConsoleUpdate : public tqlquery::Update {
 public:
  static constexpr std::uint32_t kChangedMeanwhile = 3;

  ConsoleUpdate(const std::string& id, std::string version, std::list<protocol::Property> properties);

  void onError(std::uint32_t code, const protocol::ListOfString1024& messages) override;

 protected:
  ~ConsoleUpdate() override = default;

 private:
  std::string objectId_;
};

// The properties to send so that an object with the current ones gets the values of the texts, in the order
// of their names. One that the object lacks goes out as a String: the server decides about it. Throws as
// parsePropertyValue does.
std::list<protocol::Property> changesTo(const tqlquery::PropertyMap& current,
                                        const std::map<std::string, std::string>& attributes);
