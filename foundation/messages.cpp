#include "foundation/messages.h"

#include "foundation/assert.h"

template void fmt::detail::vprintf<char, fmt::printf_context>(fmt::detail::buffer<char>&, fmt::basic_string_view<char>,
                                                              fmt::basic_format_args<fmt::printf_context>);

namespace Foundation {

std::string_view MessageText(Msg id) {
    switch (id) {
        case Msg::SaveChangedFile:
            return "File:\n\n<b>%s</b>\n\nhas changed.  Do you want to save it?";
        case Msg::SaveReadOnlyCollection:
            return "File:\n\n<b>%s</b>\n\nis read-only.  Do you want to save it all the same?";
        case Msg::FatalError:
            return "Orvane has encountered an unexpected error (%s).";
        case Msg::SavedNowClosing:
            return "File saved successfully.  Orvane will now close.";
        case Msg::Cancelled:
            return "Cancelled";
        case Msg::CannotRenameFile:
            return "Cannot rename file:\n\n<b>%s</b>\n\nto:\n\n<b>%s</b>\n\nerror %d (%s)";
        case Msg::NotACollection:
            return "%s is not a valid collection";
        case Msg::CannotFindFile:
            return "Cannot find file:\n\n<b>%s</b>";
        case Msg::BusyClose:
            return "close Orvane";
        case Msg::BusyHibernate:
            return "hibernate your computer";
        case Msg::RecordingInUse:
            return "Recording:\n\n<b>%s</b>\n\nis in use by an album that cannot be changed at the moment.";
        case Msg::NewerCollection:
            return "File: <b>%s</b> was created by a more recent version of Orvane.  Open it anyway? (Some information "
                   "will be lost when the file is saved.)";
        case Msg::TrackBreaksCorrected:
            return "Orvane has found and corrected inconsistencies in the track breaks for this album.  As a result, "
                   "your track breaks may not be exactly where you left them.";
        case Msg::EnableFader:
            return "Enable/disable fader";
        case Msg::AdjustFader:
            return "Adjust fader";
        case Msg::DeleteAllTrackBreaks:
            return "Delete all track breaks";
        case Msg::EditTrackDetails:
            return "Edit track details";
        case Msg::DeleteTrack:
            return "Delete track";
        case Msg::AdjustTrackStart:
            return "Adjust track start time";
        case Msg::MoveTrackBreak:
            return "Move trackbreak";
        case Msg::InsertTrackBreak:
            return "Insert track break";
        case Msg::DeleteTrackBreaks:
            return "Delete track breaks";
        case Msg::MoveTrackInList:
            return "Move track in list";
        case Msg::EditAlbumDetails:
            return "Edit album details";
        case Msg::MergingCorrections:
            return "\nMerging corrections list...";
        case Msg::ScanResult:
            return "%d potential clicks found in %s, of which:\n    %d repaired\n    %d ignored (PP - percussion "
                   "protection)\n"
                   "    %d ignored (BP - brass protection)\n";
        case Msg::NoChannelSelected:
            return "Please select a channel first";
        case Msg::NoRoomForRepair:
            return "There is no room to insert a repair here - you are too close to the start or end of the file";
        case Msg::TooSmallToDeclick:
            return "This file is too small to declick";
        case Msg::ClicksFoundSoFar:
            return "%d clicks found so far";
        case Msg::BadCrdHeader:
            return "File:\n\n<b>%s</b>\n\ndoes not contain a valid CRD header (or was created by an older version of "
                   "Orvane).  The file has been deleted.\n\nYou will need to rescan this recording for clicks.";
        case Msg::NoChannelsSpecified:
            return "No channels specified!";
        case Msg::RecordingOpenNote:
            return "The recording stays in the album, but it cannot be used until this has been put right.";
        case Msg::UndoTargetDeleted:
            return "Can't undo/redo - file or album:\n\n<b>%s</b>\n\nhas been deleted";
        case Msg::AdjustRepairWidth:
            return "Adjust repair width";
        case Msg::ManualRepair:
            return "Manual repair";
        case Msg::DeleteRepair:
            return "Delete repair";
        case Msg::ScanPass:
            return "\nPass %d";
        case Msg::ClicksInPass:
            return " - %d clicks found";
        case Msg::Done:
            return "Done";
        case Msg::UndoOtherAlbum:
            return "This undo/redo operation will take you to a different album (<b>%s - %s</b>).\n\nProceed?";
        case Msg::UndoOtherWindow:
            return "This undo/redo operation will take you to a different window.\n\nProceed?";
        case Msg::NewerCrdVersion:
            return "The click repair data file for this album side (%s) cannot be opened because it was created by a "
                   "later version of Orvane.\n\nDo not scan for clicks or you will lose your previous results!";
        case Msg::CollectionNameTaken:
            return "There is already a collection called %s.  Please choose another name";
        case Msg::CollectionRenamed:
            return "Collection successfully renamed";
        case Msg::WrongSampleRate:
            return "Recording:\n\n<b>%s</b>\n\nhas a sample rate of %d Hz, but this album has %d Hz.\n\nOrvane "
                   "requires "
                   "that all sides of an album be recorded at the same sample rate.";
        case Msg::SelectionTooLargeToPatch:
            return "The selection is too large to patch.  Please zoom in and select a region of 0.25 seconds or less.";
        case Msg::NothingSelected:
            return "Please select a region first";
        case Msg::PatchDialogOpen:
            return "You cannot do this while the 'Patch Selection' dialog is open.\n\nPlease close this dialog and try "
                   "again.";
        case Msg::AlreadyPatched:
            return "There is a patch in this region already.\n\nReplace it?";
        case Msg::NoCollectionOpen:
            return "There is no collection open.  To open an existing collection, look under 'Recent Collections' in "
                   "the File menu.";
        case Msg::EmptyCollection:
            return "Your collection is currently empty";
        case Msg::AlbumListHeader:
            return "Albums (%d of %d | %s):";
        case Msg::HissNotApplied:
            return "Warning: Hiss filter was not applied to side %d.\n\nTo turn this on, you will have to define a "
                   "noise sample for side %d first.";
        case Msg::AdjustTrackBreaks:
            return "Automatic track break adjustment";
        case Msg::Autosaving:
            return "Autosaving...";
        case Msg::AlbumsDeleted:
            return "%d albums or album components deleted.\n\nEmpty the Trash to recover lost disk space.";
        case Msg::ScanningSide:
            return "<u>Scanning: %s - %s for clicks (album %d of %d, side %d)</u>\n";
        case Msg::HissWithoutRumble:
            return "Without the rumble filter the hiss filter can make faint clicks.\n\nDo you want to turn the rumble "
                   "filter off all the same?";
        case Msg::SourceFileNote:
            return "Source file: %s\n";
        case Msg::SelectionTooShortToCut:
            return "The selection is too short to cut.  Please select a larger area or try a shorter splice length.";
        case Msg::CollectionSaved:
            return "Collection saved";
        case Msg::CustomSettings:
            return "Custom settings";
        case Msg::DefaultSettings:
            return "Default settings";
        case Msg::UndoMenu:
            return "Undo %s\tCtrl+Z";
        case Msg::RedoMenu:
            return "Redo %s\tCtrl+Y";
        case Msg::StrongScan:
            return "A sensitivity above 5 ('Max') takes much of the music for clicks.  It is meant for recordings that "
                   "are noise almost throughout.\n\nScan with it all the same?";
        case Msg::Custom:
            return "Custom";
        case Msg::ImportTrackListing:
            return "Import Track Listing";
        case Msg::CreateSingleTracks:
            return "Create single tracks";
        case Msg::NoiseSpectrumTitle:
            return "Noise Spectrum for %s - %s";
        case Msg::BackgroundJobs:
            return "You have background jobs running.  They need to be terminated to complete this action.\n\nProceed?";
        case Msg::CrdRepaired:
            return "Click repair file:\n\n<b>%s</b>\n\nwas damaged and has been repaired.  %d repairs were removed.";
        case Msg::TryAgain:
            return "Try again?";
        case Msg::ErrorWriting:
            return "Error %d writing to file:\n\n<b>%s</b>\n\n(%s)";
        case Msg::CannotCreateFolder:
            return "Cannot create folder:\n\n<b>%s</b>\n\nerror %d (%s)";
        case Msg::ErrorReading:
            return "Error %d reading file:\n\n<b>%s</b>\n\n(%s)";
        case Msg::CannotOpenFile:
            return "Cannot open file:\n\n<b>%s</b>\n\nerror %d (%s)";
        case Msg::CannotOpenForWriting:
            return "Cannot open file:\n\n<b>%s</b>\n\nfor writing, error %d (%s)";
        case Msg::NoPermission:
            return "Please check the permissions of the file and of its folder, and whether %s may use that folder if "
                   "it "
                   "runs in a sandbox.";
        case Msg::BadChunk:
            return "Bad or missing chunk '%s' in file:\n\n<b>%s</b>";
        case Msg::UnexpectedEnd:
            return "Unexpected end of file in file:\n\n<b>%s</b>";
        case Msg::FileIsEmpty:
            return "File:\n\n<b>%s</b>\n\nis empty";
        case Msg::InUseBy:
            return "<b>%s</b> is in use by %s";
        case Msg::UnsupportedRiff:
            return "Unrecognised or unsupported RIFF / AIFF chunk in file:\n\n<b>%s</b>";
        case Msg::FileSizeLimit:
            return "File size limit (%d GB) reached for file:\n\n<b>%s</b>\n\nIf you are recording to WAV format, you "
                   "can "
                   "check the 'Write RF64 files' box in the WAV File Options dialog.";
        case Msg::UnsupportedBitDepth:
            return "Unsupported bit depth (%d) in file:\n\n<b>%s</b>\n\nOnly 16, 24 and 32 bit files are supported "
                   "(plus "
                   "20 bit for FLAC and Apple Lossless)";
        case Msg::UnsupportedChannels:
            return "Unsupported channel count (%d) in file:\n\n<b>%s</b>\n\nOnly 1 and 2 channel files are supported";
        case Msg::CrdUnreadable:
            return "Click repair file:\n\n<b>%s</b>\n\nis damaged and cannot be read.";
        case Msg::CrdUnreadableKept:
            return "Click repair file:\n\n<b>%s</b>\n\nis damaged and cannot be read.  It has been kept "
                   "as:\n\n<b>%s</b>";
        case Msg::DamagedAudio:
            return "Damaged audio data in file:\n\n<b>%s</b>\n\n(%s)";
        case Msg::LibraryError:
            return "Error %d in %s, file:\n\n<b>%s</b>";
        case Msg::FormatNotHandled:
            return "%s files cannot be read or written by this program";
        case Msg::NotAudio:
            return "File:\n\n<b>%s</b>\n\nis not an audio file that can be read";
        case Msg::NegativeTrackStart:
            return "Track %s has a negative start time (%s)";
        case Msg::NegativeTrackLength:
            return "Length of track %s is negative (%s)";
        case Msg::OrphanedEmptyTrack:
            return "Orphaned empty track %s at %s";
        case Msg::EmbeddedEmptyTrack:
            return "Embedded empty track %s at %s";
        case Msg::TracksHaveALength:
            return "Tracks must be at least %d seconds long";
        case Msg::TrackTooShort:
            return "Track %s too short (%s)";
        case Msg::OverlappingTrack:
            return "Overlapping track %s at %s";
        case Msg::NoRoomForTrackBreak:
            return "There is no room to insert a track break at %s\n\nPlease delete a nearby marker first or move it "
                   "out of the way (or try elsewhere)";
        case Msg::NoSideBreaks:
            return "This album has no side breaks - there is nothing to fix.";
        case Msg::ScanForTrackBreaks:
            return "Scan for track breaks";
        case Msg::ScanNeedsWaveform:
            return "Cannot scan for or adjust trackbreaks while generating the waveform display.  Please try later.";
        case Msg::NoTrackBreaksFound:
            return "Scan did not find any track breaks.\n\nTry increasing the threshold levels or reducing the minimum "
                   "gap between tracks in the <l><h>{scan_settings_dialog:*}</h>scan settings dialog</l> and then try "
                   "again.";
        case Msg::MoreTrackBreaksThanTracks:
            return "Scan found more track breaks than there are tracks in the list.\n\nYou can delete any unwanted "
                   "track breaks manually or you can adjust the <l><h>{scan_settings_dialog:*}</h>scan settings</l> "
                   "and "
                   "try again.";
        case Msg::FewerTrackBreaksThanTracks:
            return "Scan found fewer track breaks than there are tracks in the list.\n\nYou can insert any missing "
                   "track breaks manually or you can adjust the <l><h>{scan_settings_dialog:*}</h>scan settings</l> "
                   "and "
                   "try again.";
        case Msg::NumberedTrack:
            return "Track %d";
        case Msg::UndoTip:
            return "Undo %s (Ctrl+Z)";
        case Msg::RedoTip:
            return "Redo %s (Ctrl+Y)";
        case Msg::NothingToUndo:
            return "There is nothing to undo";
        case Msg::NothingToRedo:
            return "There is nothing to redo";
        case Msg::RecordingScanned:
            return "Recording:\n\n<b>%s</b>\n\nis being scanned for clicks.  Please wait for the scan to end, or "
                   "cancel it, "
                   "and try again.";
        case Msg::RecordingRead:
            return "Recording:\n\n<b>%s</b>\n\nis being saved or measured.  Please wait for the job to end, or cancel "
                   "it, "
                   "and try again.";
        case Msg::AlbumInUse:
            return "Album:\n\n<b>%s - %s</b>\n\nis being worked on and cannot be changed at the moment.";
        case Msg::RepairNotMade:
            return "No repair could be made here";
        case Msg::RepairGone:
            return "The repair is no longer there";
        case Msg::PatchKeepsItsWidth:
            return "A patch keeps its width.  To change it, please patch the selection again.";
        case Msg::CutTakesTrack:
            return "The cut would take all of the track <b>%s</b>.  Please delete the track first.";
        case Msg::NothingTried:
            return "There is nothing to keep";
        case Msg::RepairsOfAScan:
            return "%d repairs of a scan";
        case Msg::OneRepairOfAScan:
            return "1 repair of a scan";
        case Msg::ClickScan:
            return "Scan for clicks";
        case Msg::RepairMarkers:
            return "Repair markers";
        case Msg::PatchSelection:
            return "Patch selection";
        case Msg::CutSelection:
            return "Cut selection";
        case Msg::TruncateRecording:
            return "Truncate recording";
        case Msg::DeleteCut:
            return "Delete cut";
        case Msg::AddFilter:
            return "Add filter";
        case Msg::ChangeFilter:
            return "Change filter";
        case Msg::RemoveFilter:
            return "Remove filter";
        case Msg::MoveFilter:
            return "Move filter";
        case Msg::AddCurve:
            return "Add equaliser curve";
        case Msg::ChangeCurve:
            return "Change equaliser curve";
        case Msg::RemoveCurve:
            return "Remove equaliser curve";
        case Msg::MoveCurve:
            return "Move equaliser curve";
        case Msg::CannotDeleteFile:
            return "Cannot delete file:\n\n<b>%s</b>\n\nerror %d (%s)";
        case Msg::JobFailedLine:
            return " - <fg color=#ff0000>%s</fg>\n";
        case Msg::InFileAtLine:
            return "%s\n\nIn file:\n\n<b>%s</b>\n\nat line %d";
        case Msg::CueMissing:
            return "Missing %s";
        case Msg::CueEmpty:
            return "Empty %s";
        case Msg::CueTrackNumber:
            return "Invalid TRACK number %d (should be 01..%d)";
        case Msg::CueTrackOrder:
            return "TRACKs must be in ascending order";
        case Msg::CueIncompleteIndex:
            return "Incomplete INDEX statement";
        case Msg::CueFileExtension:
            return "Missing or unrecognised file extension <b>%s</b>";
        case Msg::CueIndexBehindEnd:
            return "INDEX behind the end of <b>%s</b>";
        case Msg::CueSheetsGenerated:
            return "%d cue sheets generated.";
        case Msg::NoRecordings:
            return "Album:\n\n<b>%s - %s</b>\n\nhas no recordings.";
        case Msg::NoTracks:
            return "Album:\n\n<b>%s - %s</b>\n\nhas no tracks.";
        case Msg::NotForListings:
            return "File:\n\n<b>%s</b>\n\nis the collection or one of its recordings and is not written over.";
        case Msg::DefineNoiseSample:
            return "Define noise sample";
        case Msg::NoTrackBreakYet:
            return "<fg color=#ff0000>No track break has yet been defined for this track.</fg>  To add track breaks, "
                   "click on the <b>Split Tracks</b> tab and then place a red marker at the end of each track.";
        case Msg::TrackNotRecorded:
            return "<fg color='#ff0000'>This track has not yet been recorded (or starts beyond the end of the "
                   "recording).</fg>  You can delete it in the <b>Split Tracks window</b> if you no longer want it.";
        case Msg::CannotSaveAsDsd:
            return "Orvane cannot save a PCM recording as a DSD file, sorry.";
        case Msg::FilenameTooLong:
            return "Filename is too long";
        case Msg::NeverWrittenOver:
            return "File:\n\n<b>%s</b>\n\nis a recording, which is never changed.";
        case Msg::CannotHoldRate:
            return "%s files cannot hold %d Hz; the nearest they can is %d Hz";
        case Msg::CannotHoldBits:
            return "%s files cannot hold %d bits; the nearest they can is %d bits";
        case Msg::OtherExtension:
            return "Warning: the file extension you have entered does not match the file type you selected.  Do you "
                   "want to save the file anyway?";
        case Msg::LeftoverTracks:
            return "%d files of tracks that were saved earlier are left over, because tracks or albums have other "
                   "names "
                   "now:\n\n%s\n\nDo you want to move them to the Trash?";
        case Msg::ReviewSave:
            return "You can review your results in the progress window before you close it.\n\n%s";
        case Msg::SelectionSaved:
            return "File:\n\n<b>%s</b>\n\nsaved successfully.  The saved file is in folder:\n\n<b>%s</b>\n\n"
                   "<l><h>{browse_file:%s}</h>View in File Manager</l>";
        case Msg::CrdOfOtherFile:
            return "Click repair file:\n\n<b>%s</b>\n\nis of an older version of the recording and is not used.";
        case Msg::CrdOfOtherFileKept:
            return "Click repair file:\n\n<b>%s</b>\n\nis of an older version of the recording and could not be moved "
                   "to the Trash.  It has been kept as:\n\n<b>%s</b>";
        case Msg::NoAudioDevices:
            return "There are no audio drivers installed on this machine, or all audio devices are disabled.";
        case Msg::DeviceInUse:
            return "Device <b>%s</b> is in use by another application.";
        case Msg::DeviceDisconnected:
            return "Device <b>%s</b> was disconnected.";
        case Msg::DeviceError:
            return "Device <b>%s</b> reported error %s calling %s.\n\nPlease check that the drivers for your sound "
                   "card are correctly installed.  Restarting the application might also help.";
        case Msg::NoConversion:
            return "no conversion";
        case Msg::ServerConversion:
            return "%s to %s kHz by the sound server";
        case Msg::JobInProgress:
            return "Another job is in progress.\n\nPlease wait until it has ended, or cancel it, and try again.";
        case Msg::CollectionExists:
            return "%s exists already";
        case Msg::TitlesAndTracksDiffer:
            return "The sides have %s, but %s has %s";
        case Msg::DeviceNotOpen:
            return "The playback device is not open.";
        case Msg::BadTurntable:
            return "<b>%s</b> is nothing that a simulated turntable can do (in %s).";
        case Msg::LibraryMissing:
            return "%s cannot be used (%s).";
        case Msg::NoSuchDevice:
            return "There is no device <b>%s</b>.";
        case Msg::NoSoundServer:
            return "No sound server answers (%s).";
        case Msg::LevelNoSound:
            return "No sound arrives.  Check the cable and the input, and play a record.";
        case Msg::LevelChannelDead:
            return "The %s channel is silent.  Check its plug and the cartridge's leads.";
        case Msg::LevelClipped:
            return "Turn the volume down: the loudest passages are cut off.";
        case Msg::LevelInverted:
            return "One channel is upside down against the other.  Swap the two leads of one channel at the cartridge.";
        case Msg::LevelSwapped:
            return "Left and right are swapped.  Swap the two plugs.";
        case Msg::LevelMono:
            return "Both channels carry the same sound.  That is right for a mono record only.";
        case Msg::LevelOffset:
            return "The input adds a constant voltage (%.0f dB).  Switch the rumble filter on, or use another input.";
        case Msg::LevelHum:
            return "There is hum at %d Hz (%.0f dB).  Check the turntable's earth lead.";
        case Msg::LevelUnequal:
            return "The %s channel is louder by %.1f dB.  Adjust the balance.";
        case Msg::LevelTooLow:
            return "Turn the volume up: the loudest passage should reach -6 dB";
        case Msg::LevelTooHigh:
            return "Turn the volume down: the loudest passage should reach -6 dB";
        case Msg::LevelGood:
            return "The level is good.";
        case Msg::SideLeft:
            return "left";
        case Msg::SideRight:
            return "right";
        case Msg::FadeOutLabel:
            return "Fade &out %s";
        case Msg::FadeInLabel:
            return "Fade &in %s";
        case Msg::ZoomTrackTitle:
            return "<b>%s</b> (%s)";
        case Msg::CurveOutOfOrder:
            return "%g Hz is out of order: the point must lie above %g Hz and below %g Hz";
        case Msg::CurveFrequencyTooLow:
            return "%g Hz is no frequency for a point: it must be above 0";
        case Msg::CurveGainTooHigh:
            return "%g dB is beyond the scale of the curve, which goes from %d to %d dB";
    }
    ORVANE_ASSERT(!"message number without a text");
    return {};
}

}  // namespace Foundation
