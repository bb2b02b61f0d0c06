#pragma once
// Standard error of the tools. What they say has parts of the files that they read in it: control
// characters but the line feed are written as \\x1B, so that no file commands the terminal.

#include <ostream>
#include <streambuf>

class TerminalErrors : public std::streambuf {
  public:
    explicit TerminalErrors(std::ostream& to) : output(to) {}

  protected:
    int_type overflow(int_type c) override {
        constexpr char kDigits[] = "0123456789ABCDEF";
        const unsigned byte = static_cast<unsigned char>(c);
        if (byte == '\n' || (byte >= 32 && byte != 127)) {
            output.put(static_cast<char>(byte));
        } else {
            output << "\\x" << kDigits[byte >> 4] << kDigits[byte & 15];
        }
        return output ? c : traits_type::eof();
    }
    int sync() override { return output.flush() ? 0 : -1; }

  private:
    std::ostream& output;
};
