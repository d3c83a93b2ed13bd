// A frame loop with nested sections, measured by the profiler:
//
//     frame_loop [TRACE.json]
//
// Runs 60 frames of a small simulation, prints the sections of the last one as a table, and writes all frames
// as a trace that trace viewers open (frame_loop.json by default).

#include "vl/core.h"

#include <cmath>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <vector>

namespace {

struct Body {
    float x, y, dx, dy;
};

/// A square box of bodies that pull at their neighbours.
class Simulation {
  public:
    explicit Simulation(int count) : m_bodies(static_cast<std::size_t>(count)) {
        float angle = 0;
        for (Body &body : m_bodies) {
            body = {std::cos(angle), std::sin(angle), -std::sin(angle) / 8, std::cos(angle) / 8};
            angle += 2.4f;
        }
    }

    void step(float seconds) {
        const V_Profile section("simulation");
        pull(seconds);
        move(seconds);
    }

    /// How many bodies lie in each cell of a 16 x 16 image.
    std::vector<int> render() const {
        const V_Profile section("render");
        std::vector<int> image;
        {
            const V_Profile allocation("image");
            V_Memory::freeCounted(V_Memory::allocateCounted(1024)); // as a renderer would for its frame
            image.resize(256);
        }
        for (const Body &body : m_bodies)
            ++image[cell(body.y) * 16 + cell(body.x)];
        return image;
    }

  private:
    static std::size_t cell(float coordinate) {
        const float scaled = (coordinate + 2) * 4;
        return scaled <= 0 ? 0 : scaled >= 15 ? 15 : static_cast<std::size_t>(scaled);
    }

    void pull(float seconds) {
        const V_Profile section("forces");
        for (Body &body : m_bodies)
            for (const Body &other : m_bodies) {
                const float x = other.x - body.x, y = other.y - body.y;
                const float weight =
                    seconds / (1 + 50 * (x * x + y * y)) / static_cast<float>(m_bodies.size());
                body.dx += x * weight;
                body.dy += y * weight;
            }
    }

    void move(float seconds) {
        const V_Profile section("motion");
        for (Body &body : m_bodies) {
            body.x += body.dx * seconds;
            body.y += body.dy * seconds;
        }
    }

    std::vector<Body> m_bodies;
};

} // namespace

int main(int count, char **arguments) {
    const char *traceName = count > 1 ? arguments[1] : "frame_loop.json";
    try {
        // Opened before the library starts, which changes the current directory to the program's.
        std::ofstream traceFile(traceName, std::ios::binary);
        const V_VantorInit library;
        Sys->ceaseVerbose(1);     // no log wanted
        Sys->getProcessorSpeed(); // measured now, so that sections have seconds
        V_ProfileTrace trace;
        trace.start();

        Simulation simulation(600);
        V_Timer timer;
        for (int frame = 0; frame < 60; ++frame) {
            V_Profile::startFrame();
            for (int i = 0; i < 2; ++i)
                simulation.step(1.0f / 120);
            simulation.render();
            V_Profile::endFrame();
            timer.sample();
        }

        trace.stop();
        std::printf("%d frames, the last in %.3f ms\n\n", V_Profile::getFrameCount(),
                    static_cast<double>(timer.getDelta()) * 1000);
        std::fflush(stdout);
        V_writeProfileTable(std::cout);
        trace.write(traceFile);
        traceFile.close();
        if (!traceFile) {
            std::fprintf(stderr, "frame_loop: %s cannot be written\n", traceName);
            return 1;
        }
        std::cout << '\n' << trace.getEventCount() << " events in " << traceName << '\n';
        return 0;
    } catch (V_Exception *exception) {
        std::fprintf(stderr, "frame_loop: %s\n", exception->getErrorMessage());
    }
    return 1;
}
