#include "cli/commands.h"
#include "cli/digitise.h"
#include "cli/parsing.h"

namespace Orvane {

void AddDigitiseCommand(CommandTree& tree) {
    auto order = std::make_shared<DigitiseOrder>();
    CLI::App* command = tree.AddCommand(
        &tree.app, "digitise", "the whole job: recordings of sides in, saved tracks out",
        "digitise side1.wav side2.wav --artist \"The Examples\" --album First --titles first.txt --out ~/Music\n\n"
        "A file of titles has a line for each track, with times on the album's time line:\n"
        "  0:06 - 3:41.5 Turning Slowly\n"
        "  3:44 - 7:02 Needle Down\n"
        "or titles alone, one for each track that is found; with --no-split one a side.",
        [order](CommandContext& context) { return Digitise(context, *order).Run(); });
    command->add_option("FILE", order->files, "recordings, each of one side, in order")->required()->option_text("...");
    command->add_option("--artist", order->artist, "the album's artist")->required()->option_text("TEXT");
    command->add_option("--album", order->title, "the album's title")->required()->option_text("TEXT");
    command->add_option("--year", order->year, "the year of its release")->check(Between(0, 9999))->option_text("YEAR");
    command->add_option("--genre", order->genre, "its genre")->option_text("TEXT");
    command->add_option("--titles", order->titles_file, "a file with the titles of the tracks")->option_text("FILE");
    command->add_option("--collection", order->collection, "the collection to add to; otherwise one beside the tracks")
        ->option_text("C.mcf");
    command->add_flag("--no-declick", order->no_declick, "leave clicks as they are");
    command->add_flag("--no-split", order->no_split, "do not look for track breaks: each side is one track");
    command->add_flag("--no-cue", order->no_cue, "write no cue sheet beside the tracks");
    command->add_flag("--adjust", order->adjust, "move the times of the titles to the gaps near them");
    SaveOptions(command, order->save);
}

}  // namespace Orvane
