// A program that has names of the libraries for things of its own. scripts/test-packages puts an include of
// every installed header in front of it, and links all of the libraries.
#include <string>

struct Connection {
  int post();
};
struct Output {
  int write(const std::string& text);
};
struct BigNum {
  BigNum();
  int value;
};
int wipe(std::string& secret);

int Connection::post() { return 1; }
int Output::write(const std::string&) { return 2; }
BigNum::BigNum() : value(3) {}
int wipe(std::string&) { return 4; }

int main() {
  std::string text;
  return Connection().post() == 1 && Output().write(text) == 2 && BigNum().value == 3 && wipe(text) == 4 ? 0
                                                                                                         : 1;
}
