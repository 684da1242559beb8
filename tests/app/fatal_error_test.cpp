#include "app/fatal_error.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <stdexcept>
#include <thread>

#include "app/initterm.h"
#include "collection/steering_file.h"
#include "fake_hosts.h"
#include "foundation/assert.h"
#include "scoped_environment.h"
#include "temp_folder.h"

namespace Orvane {
namespace {

using OrvaneTest::ReadBytes;
using OrvaneTest::ScopedEnvironment;
using OrvaneTest::TempFolder;

// Shows what it is asked on stderr, where a death test can see it.
class PrintingHost : public MessageHost {
public:
    PrintingHost(Answer answer, bool faulty) : answer(answer), faulty(faulty) { SetMessageHost(this); }
    ~PrintingHost() override { SetMessageHost(nullptr); }
    Answer Ask(const Message& message) override {
        std::fprintf(stderr, "[%s]", PlainText(message.text).c_str());
        if (faulty) ORVANE_ASSERT(!"the host is sound");
        return message.buttons == Buttons::Ok ? Answer::Ok : answer;
    }

private:
    Answer answer;
    bool faulty;
};

class FatalDeathTest : public testing::Test {
protected:
    // Runs `fault` in a started program with a changed collection open. Of a death test's own process.
    template <class Fault>
    void Run(Answer answer, Fault fault, bool faulty_host = false) {
        ScopedEnvironment config("ORVANE_CONFIG_HOME", folder / "config");
        InitApplication();
        PrintingHost host(answer, faulty_host);
        OpenCollection(folder / "records.mcf");
        AlbumInfo* album = new AlbumInfo;
        album->title = "Unsaved";
        gAlbumSet->albums.Append(album);
        MarkDirty();
        fault();
    }
    bool IsSaved() const { return ReadBytes(folder / "records.mcf").find("Unsaved") != std::string::npos; }

    TempFolder folder;
    std::string path = folder.Write("records.mcf", "\"A\",\"T\"\n");
};

constexpr const char* kOffer = "has changed\\. +Do you want to save it\\?\\]";

TEST_F(FatalDeathTest, AFailedAssertionOffersTheSave) {
    EXPECT_EXIT(
        Run(Answer::Yes, [] { ORVANE_ASSERT(1 + 1 == 3); }), testing::ExitedWithCode(255),
        std::string(
            "unexpected error \\(Assert failed: 1 \\+ 1 == 3 fatal_error_test.cpp, line [0-9]+ \\[1315\\]\\).*") +
            kOffer + ".*File saved successfully");
    EXPECT_TRUE(IsSaved());
}

TEST_F(FatalDeathTest, AWorkersFaultIsHandledOnTheWorker) {
    EXPECT_EXIT(Run(Answer::Yes, [] { std::thread([] { ORVANE_ASSERT(!"the worker is sound"); }).join(); }),
                testing::ExitedWithCode(255), "File saved successfully");
    EXPECT_TRUE(IsSaved());
}

TEST_F(FatalDeathTest, AnExceptionThatNobodyCatchesIsTold) {
    EXPECT_EXIT(Run(Answer::No, [] { std::thread([] { throw std::runtime_error("lost"); }).join(); }),
                testing::ExitedWithCode(255), std::string("unexpected error \\(lost\\).*") + kOffer + "$");
    EXPECT_FALSE(IsSaved());
}

TEST_F(FatalDeathTest, AFaultInTheHandlerEndsAtOnce) {
    EXPECT_EXIT(Run(
                    Answer::Yes, [] { FatalError("first"); }, true),
                testing::ExitedWithCode(255), "\\(first\\)\\.\\]$");
    EXPECT_FALSE(IsSaved());
}

}  // namespace
}  // namespace Orvane
