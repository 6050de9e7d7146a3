// A program that has names of the libraries for things of its own. scripts/test-packages puts an include of
// every installed header in front of it, and links all of the libraries.
#include <string>

class Connection {
 public:
  int post();
};
class Output {
 public:
  int write(const std::string& text);
};
class BigNum {
 public:
  BigNum();
  int value;
};
int wipe(std::string& secret);

int Connection::post() { return 1; }
int Output::write(const std::string& text) { return static_cast<int>(text.size()); }
BigNum::BigNum() : value(3) {}
int wipe(std::string& secret) { return secret.empty() ? 0 : 4; }

int main() {
  std::string text = "me";
  const bool own =
      Connection().post() == 1 && Output().write(text) == 2 && BigNum().value == 3 && wipe(text) == 4;
  return own ? 0 : 1;
}
