// The settings store and the Trash of these tests lie in a folder of their own. Files lie in memory where the system
// has a folder for that: saving waits for the disk, and what is tested here does not depend on it.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>

#include "foundation/settings.h"
#include "temp_folder.h"

namespace {

class OwnFolders : public ::testing::Environment {
public:
    void SetUp() override {
        if (access("/dev/shm", W_OK) == 0) setenv("TMPDIR", "/dev/shm", 1);
        folder = std::make_unique<OrvaneTest::TempFolder>();
        setenv("ORVANE_CONFIG_HOME", (*folder / "config").c_str(), 1);
        setenv("XDG_DATA_HOME", (*folder / "data").c_str(), 1);
        ASSERT_TRUE(Foundation::OpenSettings(*folder / "config"));
    }
    void TearDown() override { folder.reset(); }

private:
    std::unique_ptr<OrvaneTest::TempFolder> folder;
};

[[maybe_unused]] const ::testing::Environment* const environment = ::testing::AddGlobalTestEnvironment(new OwnFolders);

}  // namespace
