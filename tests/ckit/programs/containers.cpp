// C++ and its library, without exceptions.
#include <algorithm>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <numeric>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <unordered_map>
#include <variant>
#include <vector>

struct Animal {
    virtual ~Animal() = default;
    virtual std::string Says() const = 0;
};
struct Cat : Animal {
    std::string Says() const override { return "meow"; }
};
struct Dog : Animal {
    ~Dog() override { std::cout << "the dog goes\n"; }
    std::string Says() const override { return "woof"; }
};

struct Announced {
    explicit Announced(const char* name) : name_(name) { std::cout << "begins " << name_ << "\n"; }
    ~Announced() { std::cout << "ends " << name_ << "\n"; }
    const char* name_;
};
static Announced global("global");

int main() {
    std::vector<int> numbers(10);
    std::iota(numbers.begin(), numbers.end(), 1);
    std::cout << std::accumulate(numbers.begin(), numbers.end(), 0) << "\n";
    std::map<std::string, int> words;
    std::istringstream text("the cat and the dog and the bird");
    for (std::string word; text >> word;) {
        ++words[word];
    }
    for (const auto& [word, count] : words) {
        std::cout << word << " " << count << "\n";
    }
    std::unordered_map<int, std::string> names = {{1, "one"}, {2, "two"}};
    std::cout << names.at(2) << names.size() << "\n";
    std::vector<std::unique_ptr<Animal>> animals;
    animals.push_back(std::make_unique<Cat>());
    animals.push_back(std::make_unique<Dog>());
    for (const auto& animal : animals) {
        std::cout << animal->Says() << "\n";
    }
    std::cout << (dynamic_cast<Dog*>(animals[0].get()) == nullptr) << "\n";
    std::function<int(int)> twice = [&](int x) { return x * static_cast<int>(numbers.size()); };
    std::variant<int, std::string> either = "text";
    std::optional<double> maybe = 2.5;
    std::cout << twice(4) << " " << std::get<std::string>(either) << " " << *maybe << "\n";
    const std::string letterText = "hello";
    const std::set<char> letters(letterText.begin(), letterText.end());
    std::ostringstream out;
    out.precision(3);
    out << 3.14159 << std::hex << 255;
    std::cout << out.str() << " " << letters.size() << std::endl;
    static Announced local("local");
    return 0;
}
