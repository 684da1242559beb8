// What a save asks and tells at its end.
#pragma once

#include "save/save_albums.h"

namespace Orvane {

// Offers to move the files that the save has left over to the Trash, and does so; those that stay remain in the result.
// The first that cannot be moved is the outcome. Main thread, as the following.
Foundation::Outcome OfferLeftovers(SaveResult& result);

// Tells how many tracks were saved and where, unless the user has switched that off.
void ReportSave(const SaveResult& result);

}  // namespace Orvane
