// What a game does with its files: archives of its own beside the program, a patch in front of them, add-ons
// that players drop in, and a directory of the user's for what it writes.
//
//     ship_a_game DIRECTORY
//
// DIRECTORY holds GAME.VAS and, if there is one, PATCH.VAS. Add-ons lie in the user's directory: each archive
// and each directory of `addons` is shown as \addons\NAME.

#include "vl/core.h"
#include "vl/file.h"

#include <cstdio>
#include <cstring>

namespace {

/// The head of a replay: how many frames there are is known only at its end.
struct ReplayHeader {
    char magic[4];
    unsigned int frames;
};

void addArchives(const char *program) {
    const V_String directory = V_String(program) + "\\";
    File->addPlace((directory + "GAME.VAS").c_str());
    try {
        File->addPlace((directory + "PATCH.VAS").c_str(), V_File::PLACE_FIRST);
    } catch (V_FileException_FileNotFound *) {
        std::printf("no patch\n");
    }
}

/// What players dropped into their directory, each at a virtual directory of its own. A damaged one is told
/// and left out.
void addAddons(const V_String &user) {
    File->createDirectory("addons");
    for (const V_ListedFile &addon : V_FileListing("addons\\*")) {
        const V_String path = user + "\\addons\\" + addon.name, at = V_String("\\addons\\") + addon.name;
        try {
            File->addPlace(path.c_str(), V_File::PLACE_LAST, at.c_str());
        } catch (V_FileException *failure) {
            std::printf("add-on left out: %s\n", failure->getErrorMessage());
        }
    }
}

void showPlaces() {
    for (const V_FilePlace &place : V_FilePlaces())
        std::printf("%-9s %s, shown at %s\n", place.isArchive ? "archive" : "directory", place.path,
                    place.at);
}

/// The menu of maps: every map once, and where it comes from.
void showMaps() {
    for (const V_ListedFile &map : V_FileListing("maps\\*.map")) {
        V_FileInfo places[4];
        const std::size_t count = File->findAll((V_String("maps\\") + map.name).c_str(), places, 4);
        std::printf("map %s, %llu bytes%s\n", map.name, static_cast<unsigned long long>(map.size),
                    count > 1 ? ", which hides another" : "");
    }
}

/// Writes frame by frame, and the header once more at the end.
void recordReplay(const char *name, unsigned int frames) {
    ReplayHeader header{{'R', 'P', 'L', '1'}, 0};
    V_FileWriter replay(name);
    replay.write(&header, sizeof header);
    for (; header.frames < frames; ++header.frames) {
        const float position[3] = {static_cast<float>(header.frames), 0, 1};
        replay.write(position, sizeof position);
    }
    replay.seek(0);
    replay.write(&header, sizeof header);
    replay.close();
}

void showReplay(const char *name) {
    V_FileReader replay(name);
    ReplayHeader header;
    float position[3];
    if (replay.read(&header, sizeof header) != sizeof header || std::memcmp(header.magic, "RPL1", 4) != 0 ||
        replay.getSize() != sizeof header + header.frames * sizeof position) {
        std::printf("%s is no replay\n", name);
        return;
    }
    replay.seek(static_cast<unsigned int>(sizeof header + (header.frames - 1) * sizeof position));
    replay.read(position, sizeof position);
    std::printf("%s: %u frames, the last at %g\n", name, header.frames, static_cast<double>(position[0]));
}

void play() {
    showMaps();
    recordReplay("replays\\com_11..bvr", 1000);
    showReplay("replays\\com_11..bvr");
    // Settings must survive a crash in the middle of writing them.
    const char settings[] = "[video] { width = 640; }\n";
    File->saveAtomically("settings.txt", settings, sizeof settings - 1);
}

int run(const char *program) {
    V_StartSettings settings;
    settings.leaveDirectoryAlone = true; // it is the program's own
    settings.loadArchives = false;       // but for those that are added here
    settings.root = program;
    settings.noLog = true;
    V_VantorInit::settings(settings);
    const V_VantorInit started;
    try {
        File->setWholeElements(true); // names as today's tools write them
        addArchives(program);
        V_String user;
        File->getUserDirectory("Vantor", "ship_a_game", user);
        File->setWriteDirectory(user.c_str());
        addAddons(user);
        showPlaces();
        play();
    } catch (V_Exception *failure) {
        std::fprintf(stderr, "ship_a_game: %s\n", failure->getErrorMessage());
        return 1;
    }
    return 0;
}

} // namespace

int main(int count, char **arguments) {
    if (count != 2) {
        std::fprintf(stderr, "usage: ship_a_game DIRECTORY\n");
        return 2;
    }
    return run(arguments[1]);
}
