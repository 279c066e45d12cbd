#include "Tool/Tool_Png.h"

#include "Tool/Tool_InputError.h"

#include <cerrno>
#include <cstdio>
#include <memory>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace {

constexpr char cProgram[] = "rsvg-convert";

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

[[noreturn]] void Fail(const std::string& iName, const std::string& iWhat)
{
    throw Tool_InputError::InFile(iName, iWhat + ", expected rsvg-convert or a name that ends in .svg");
}

// The end of a pipe that closes itself.
struct PipeEnd
{
    explicit PipeEnd(int iDescriptor)
        : mDescriptor(iDescriptor)
    {
    }
    ~PipeEnd() { Close(); }
    PipeEnd(const PipeEnd&) = delete;
    PipeEnd& operator=(const PipeEnd&) = delete;
    void Close()
    {
        if (mDescriptor >= 0) close(mDescriptor);
        mDescriptor = -1;
    }
    int mDescriptor;
};

std::string ReadAll(int iDescriptor)
{
    std::string bytes;
    char block[65536];
    for (;;) {
        const ssize_t count = read(iDescriptor, block, sizeof block);
        if (count > 0) bytes.append(block, static_cast<std::size_t>(count));
        if (count == 0 || (count < 0 && errno != EINTR)) return bytes;
    }
}

} // namespace

// The picture goes in from a file without a name and comes out of a pipe, so that no name is ever quoted.
std::string Tool_PngOf(const std::string& iSvg, const std::string& iName)
{
    const File svg(std::tmpfile(), std::fclose);
    int ends[2];
    if (!svg || std::fwrite(iSvg.data(), 1, iSvg.size(), svg.get()) != iSvg.size() ||
        std::fflush(svg.get()) != 0 || pipe(ends) != 0)
        Fail(iName, "the picture cannot be handed on");
    std::rewind(svg.get());
    PipeEnd out(ends[0]);
    PipeEnd in(ends[1]);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, fileno(svg.get()), STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, in.mDescriptor, STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, out.mDescriptor);
    char program[] = "rsvg-convert";
    char format[] = "--format=png";
    char* const arguments[] = {program, format, nullptr};
    pid_t child = 0;
    const int error = posix_spawnp(&child, cProgram, &actions, nullptr, arguments, environ);
    posix_spawn_file_actions_destroy(&actions);
    in.Close();
    if (error != 0) Fail(iName, "there is no rsvg-convert to make a PNG picture");

    std::string png = ReadAll(out.mDescriptor);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0 || !png.starts_with("\x89PNG"))
        Fail(iName, "rsvg-convert did not make a PNG picture");
    return png;
}
