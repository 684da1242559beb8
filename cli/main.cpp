#include "cli/commands.h"

int main(int argc, char** argv) {
    return Orvane::RunCommandLine(argc, argv);
}
