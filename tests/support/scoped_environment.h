// Sets an environment variable for the length of a scope.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace OrvaneTest {

class ScopedEnvironment {
public:
    ScopedEnvironment(const char* name, const std::string& value) : name(name) {
        if (const char* old = std::getenv(name)) before = old;
        setenv(name, value.c_str(), 1);
    }
    ~ScopedEnvironment() {
        if (before) {
            setenv(name.c_str(), before->c_str(), 1);
        } else {
            unsetenv(name.c_str());
        }
    }
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

private:
    std::string name;
    std::optional<std::string> before;
};

}  // namespace OrvaneTest
