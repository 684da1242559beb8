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
class FakeMessageHost : public Foundation::MessageHost {
public:
    explicit FakeMessageHost(std::deque<Foundation::Answer> script = {})
        : script(std::move(script)), before(Foundation::SetMessageHost(this)) {}
    ~FakeMessageHost() override { Foundation::SetMessageHost(before); }

    Foundation::Answer Ask(const Foundation::Message& message) override {
        asked.push_back(message);
        if (on_ask) on_ask(message);
        if (script.empty()) {
            if (message.buttons == Foundation::Buttons::Ok) return Foundation::Answer::Ok;
            return message.buttons == Foundation::Buttons::YesNo ? Foundation::Answer::No : Foundation::Answer::Cancel;
        }
        const Foundation::Answer answer = script.front();
        script.pop_front();
        return answer;
    }

    // The messages shown, in plain words.
    std::vector<std::string> Texts() const {
        std::vector<std::string> texts;
        for (const Foundation::Message& message : asked) texts.push_back(Foundation::PlainText(message.text));
        return texts;
    }

    std::deque<Foundation::Answer> script;
    std::vector<Foundation::Message> asked;
    std::function<void(const Foundation::Message&)> on_ask;

private:
    Foundation::MessageHost* before;
};

// In use from its making to its end. Read its fields when the job has ended.
class FakeProgressHost : public Foundation::ProgressHost {
public:
    FakeProgressHost() : before(Foundation::SetProgressHost(this)) {}
    ~FakeProgressHost() override { Foundation::SetProgressHost(before); }

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
    Foundation::ProgressHost* before;
};

}  // namespace OrvaneTest
