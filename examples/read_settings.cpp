// Reads settings from scripts: the client to copy from.
//
//     read_settings ROOT
//
// ROOT is a directory that holds vehicles.txt and graphics.txt, as files (examples/scripts is one) or in an
// archive (*.VAS): the program does not see the difference.

#include "vl/core.h"
#include "vl/file.h"
#include "vl/script.h"

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

namespace {

struct Vector {
    float x, y, z;
};

struct Wheel {
    Vector position, steering;
    float grip;
};

struct Vehicle {
    char name[32];
    float mass;
    Vector centre;
    unsigned int color;
    char grade;
    float power;
    int gears;
    int turbo;
    std::vector<Wheel> wheels;
    unsigned int lamps = 0;
};

/// A format of our own: at most 31 characters, so that no script can write beyond a char[32].
const V_Script::Format name31 = {"%31s", V_Script::m_argsizes_string};

Wheel readWheel(V_Script &script) {
    Wheel wheel;
    const V_Script::Variables variables[] = {
        {"position", &wheel.position, nullptr, &V_Script::t_float3}, // no default: it has to be there
        {"steering", &wheel.steering, "(0,0,0)", &V_Script::t_float3},
        {"grip", &wheel.grip, "100%", &V_Script::t_float},
        {}};
    script.parse(variables, true);
    return wheel;
}

/// Reads the vehicle that is the current block.
Vehicle readVehicle(V_Script &script) {
    // What the block must and may hold comes first, so that the rest can rely on it.
    const V_Script::Blocks blocks[] = {
        {"body", 1, 1}, {"engine", 1, 1}, {"wheel", 3, 8}, {"lights", 0, 1}, {}};
    script.blockCheck(blocks, false);

    Vehicle vehicle;
    const V_Script::Variables body[] = {{"name", vehicle.name, nullptr, &name31},
                                        {"mass", &vehicle.mass, nullptr, &V_Script::t_float},
                                        {"centre", &vehicle.centre, "(0,0,0)", &V_Script::t_float3},
                                        {"color", &vehicle.color, "ffffff", &V_Script::t_hex},
                                        {"class", &vehicle.grade, "c", &V_Script::t_char},
                                        {}};
    script.parse(body, "body", 0, true);
    const V_Script::Variables engine[] = {{"power", &vehicle.power, nullptr, &V_Script::t_float},
                                          {"gears", &vehicle.gears, "5", &V_Script::t_int},
                                          {"turbo", &vehicle.turbo, "no", &V_Script::t_int},
                                          {}};
    script.parse(engine, "engine", 0, true);

    for (unsigned int i = 0; i < script.count("wheel"); ++i) {
        const V_ScriptLock wheel(&script, "wheel", i);
        vehicle.wheels.push_back(readWheel(script));
    }
    if (script.count("lights") != 0) {
        const V_ScriptLock lights(&script, "lights", 0);
        vehicle.lamps = script.count("lamp");
    }
    return vehicle;
}

void print(const Vehicle &vehicle) {
    std::printf("%s: class %c, %.1f kg, centre (%g, %g, %g), color %06x\n", vehicle.name, vehicle.grade,
                vehicle.mass, vehicle.centre.x, vehicle.centre.y, vehicle.centre.z, vehicle.color);
    std::printf("  engine: %g w, %d gears, %s; lamps: %u\n", vehicle.power, vehicle.gears,
                vehicle.turbo ? "turbo" : "no turbo", vehicle.lamps);
    for (const Wheel &wheel : vehicle.wheels)
        std::printf("  wheel at (%g, %g, %g), steering %g, grip %.0f%%\n", wheel.position.x, wheel.position.y,
                    wheel.position.z, wheel.steering.x, wheel.grip * 100);
}

void readVehicles() {
    V_Script script("vehicles.txt");
    const V_Script::Blocks blocks[] = {{"garage", 1, 1}, {"vehicle", 1, 100}, {"switches", 0, 1}, {}};
    script.blockCheck(blocks, false);

    float gravity;
    unsigned int maximum;
    char greeting[64];
    const int sizes[] = {sizeof greeting, 0};
    const V_Script::Format text63 = {"%63s", sizes};
    const V_Script::Variables garage[] = {{"gravity", &gravity, nullptr, &V_Script::t_float},
                                          {"max_vehicles", &maximum, "8", &V_Script::t_unsigned},
                                          {"greeting", greeting, "\"Welcome\"", &text63},
                                          {}};
    script.parse(garage, "garage", 0, true);
    std::printf("%s: %s (gravity %g, at most %u vehicles)\n", script.getScriptName(), greeting, gravity,
                maximum);
    if (script.count("switches") != 0) {
        const V_ScriptLock lock(&script, "switches", 0); // the current block until the end of the scope
        std::printf("%s:", script.staticNesting());
        for (unsigned int i = 0; i < script.countLvalues(); ++i)
            std::printf(" %s", script.getLvalue(i));
        std::puts("\n");
    }

    for (unsigned int i = 0; i < script.count("vehicle"); ++i) {
        const V_ScriptLock lock(&script, "vehicle", i);
        print(readVehicle(script));
    }
}

void readGraphics() {
    // Values that are there already, for example from the last session: defaults are not applied over them.
    struct {
        int width = 640, height = 480;
    } size;
    int fullscreen = 1, shadows = 512;
    float detail = 0.5f, gamma = 2.2f;
    Vector fog = {1, 1, 1};
    char title[32] = "Untitled", textures[32] = "";

    const int pair[] = {4, 4, 0};
    const V_Script::Format resolution = {"%d,%d", pair};
    V_Script script("graphics.txt");
    const V_Script::Variables window[] = {{"size", &size, "640,480", &resolution},
                                          {"fullscreen", &fullscreen, "no", &V_Script::t_int},
                                          {"title", title, "", &name31},
                                          {}};
    const V_Script::Variables renderer[] = {{"detail", &detail, "1", &V_Script::t_float},
                                            {"shadows", &shadows, "0", &V_Script::t_int},
                                            {"gamma", &gamma, "1", &V_Script::t_float},
                                            {"fog", &fog, "(0,0,0)", &V_Script::t_float3},
                                            {}};
    const V_Script::Variables paths[] = {{"textures", textures, nullptr, &name31}, {}};
    script.parse(window, "window", 0, false);
    script.parse(renderer, "renderer", 0, false);
    script.parse(paths, "paths", 0, false);
    std::printf("\n%s: \"%s\" %dx%d%s, detail %.0f%%, shadows %d, gamma %g (kept), fog (%g, %g, %g), %s\n",
                script.getScriptName(), title, size.width, size.height, fullscreen ? " full screen" : "",
                detail * 100, shadows, gamma, fog.x, fog.y, fog.z, textures);
}

} // namespace

int main(int count, char **arguments) {
    if (count != 2) {
        std::fputs("usage: read_settings ROOT\n", stderr);
        return 2;
    }
    try {
        const std::filesystem::path root = std::filesystem::absolute(arguments[1]);
        const V_VantorInit library;
        Sys->ceaseVerbose(0); // no log in the settings' directory
        File->setFileSystemRoot(root.string().c_str());
        readVehicles();
        readGraphics();
        return 0;
    } catch (V_Exception *exception) {
        std::fprintf(stderr, "read_settings: %s\n", exception->getErrorMessage());
    } catch (const std::exception &exception) {
        std::fprintf(stderr, "read_settings: %s\n", exception.what());
    }
    return 1;
}
