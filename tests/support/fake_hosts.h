// Hosts for tests: they answer from a script and remember what they were shown.
#pragma once

#include <deque>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "foundation/host.h"
#include "foundation/messages.h"

namespace OrvaneTest {

// In use from its making to its end. Answers the scripted answers in order, then the button that changes nothing.
class FakeMessageHost : public Tesslib::MessageHost {
public:
    explicit FakeMessageHost(std::deque<Tesslib::Answer> script = {})
        : script(std::move(script)), before(Tesslib::SetMessageHost(this)) {}
    ~FakeMessageHost() override { Tesslib::SetMessageHost(before); }

    Tesslib::Answer Ask(const Tesslib::Message& message) override {
        asked.push_back(message);
        if (on_ask) on_ask(message);
        if (script.empty()) {
            if (message.buttons == Tesslib::Buttons::Ok) return Tesslib::Answer::Ok;
            return message.buttons == Tesslib::Buttons::YesNo ? Tesslib::Answer::No : Tesslib::Answer::Cancel;
        }
        const Tesslib::Answer answer = script.front();
        script.pop_front();
        return answer;
    }

    // The messages shown, in plain words.
    std::vector<std::string> Texts() const {
        std::vector<std::string> texts;
        for (const Tesslib::Message& message : asked) texts.push_back(Tesslib::PlainText(message.text));
        return texts;
    }

    std::deque<Tesslib::Answer> script;
    std::vector<Tesslib::Message> asked;
    std::function<void(const Tesslib::Message&)> on_ask;

private:
    Tesslib::MessageHost* before;
};

// In use from its making to its end. Read its fields when the job has ended.
class FakeProgressHost : public Tesslib::ProgressHost {
public:
    FakeProgressHost() : before(Tesslib::SetProgressHost(this)) {}
    ~FakeProgressHost() override { Tesslib::SetProgressHost(before); }

    void Begin(const std::string&, bool) override {}
    void Position(int) override {}
    void Log(const std::string& markup) override {
        log += markup;
        if (on_log) on_log(markup);
    }
    void End(bool) override {}

    std::string log;  // everything logged, joined, in mark-up
    std::function<void(const std::string&)> on_log;

private:
    Tesslib::ProgressHost* before;
};

}  // namespace OrvaneTest
