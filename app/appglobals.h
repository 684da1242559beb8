// The program's few process-wide objects, and the folders and settings known before anything else runs.
#pragma once

#include <cstdint>
#include <string>

#include "collection/dataobjects.h"

namespace Orvane {

enum class RecordState { IDLE, WAITING, RECORDING, STOPPING };
extern RecordState gRecord;

// Each has one owner, the main thread, and is reachable from everywhere. The open collection is gAlbumSet, the job in
// progress gWorkerThreadPool; what autosave goes by stands with the collection's file (steering_file.h). Settings that
// are not here are read where they are used.
struct AppGlobals {
    std::string documents_folder;
    std::string music_folder;
    std::string recordings_folder;  // the default home of recordings, in the documents
    std::string output_folder;      // "Output Directory"
    bool autosaving = false;
};
extern AppGlobals gApp;

// The title bar's text: the dirty marker, the collection, the program's name, and the current album; what is going on
// while autosave saves. Rebuilt when the collection's title hook is called.
std::string TitleBarText();

// The processor's measured speed, at least 1; long jobs on slow machines report less often by it. Measured on the first
// call, which takes 200 ms.
int32_t CpuRatio();

// Milliseconds between two reports of progress of a job in the background, 500 to 10000.
int32_t ReportIntervalMs();

}  // namespace Orvane
