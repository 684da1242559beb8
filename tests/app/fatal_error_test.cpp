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

using namespace Foundation;

namespace Orvane {
namespace {

class FatalDeathTest : public testing::Test {
protected:
    // Runs `fault` in a started program with a changed collection open; what it shows goes to stderr, where a death
    // test sees it. Of a death test's own process.
    template <class Fault>
    void Run(Answer answer, Fault fault, bool faulty_host = false) {
        OrvaneTest::ScopedEnvironment config("ORVANE_CONFIG_HOME", folder / "config");
        ASSERT_TRUE(InitApplication());
        OrvaneTest::FakeMessageHost host({Answer::Ok, answer, Answer::Ok});
        host.on_ask = [&](const Message& message) {
            std::fprintf(stderr, "[%s]", PlainText(message.text).c_str());
            if (faulty_host) ORVANE_ASSERT(!"the host is sound");
        };
        ASSERT_TRUE(OpenCollection(folder / "records.mcf"));
        AlbumInfo* album = new AlbumInfo;
        album->title = "Unsaved";
        gAlbumSet->albums.Append(album);
        MarkDirty();
        fault();
    }
    bool IsSaved() const { return OrvaneTest::ReadBytes(folder / "records.mcf").find("Unsaved") != std::string::npos; }

    OrvaneTest::TempFolder folder;
    std::string path = folder.Write("records.mcf", "\"A\",\"T\"\n");
};

constexpr const char* kOffer = "has changed\\. +Do you want to save it\\?\\]";

TEST_F(FatalDeathTest, AFailedAssertionOffersTheSaveAlsoOnAWorker) {
    EXPECT_EXIT(Run(Answer::Yes, [] { std::thread([] { ORVANE_ASSERT(1 + 1 == 3); }).join(); }),
                testing::ExitedWithCode(255),
                std::string("unexpected error \\(Assert failed: 1 \\+ 1 == 3 fatal_error_test.cpp, line [0-9]+ "
                            "\\[1315\\]\\).*") +
                    kOffer + ".*File saved successfully");
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
