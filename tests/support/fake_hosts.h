// Hosts for tests: they answer from a script and remember what they were shown.
#pragma once

#include <deque>
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
        if (script.empty()) {
            switch (message.buttons) {
                case Tesslib::Buttons::Ok:
                    return Tesslib::Answer::Ok;
                case Tesslib::Buttons::YesNo:
                    return Tesslib::Answer::No;
                default:
                    return Tesslib::Answer::Cancel;
            }
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

private:
    Tesslib::MessageHost* before;
};

// In use from its making to its end. Read its fields when the job has ended.
class FakeProgressHost : public Tesslib::ProgressHost {
public:
    FakeProgressHost() : before(Tesslib::SetProgressHost(this)) {}
    ~FakeProgressHost() override { Tesslib::SetProgressHost(before); }

    void Begin(const std::string&, bool) override {}
    void Position(int per_mille) override { positions.push_back(per_mille); }
    void Log(const std::string& markup) override { log += markup; }
    void End(bool keep_open) override { kept_open = keep_open; }

    std::string log;  // everything logged, joined, in mark-up
    std::vector<int> positions;
    bool kept_open = false;

private:
    Tesslib::ProgressHost* before;
};

}  // namespace OrvaneTest
