// A scratch folder, a shell in it, and what both hold afterwards.
#include "run.h"

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace fs = std::filesystem;

namespace {

std::string read_file(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

struct scratch_folder {
    fs::path path;
    scratch_folder() {
        std::string name = (fs::temp_directory_path() / "bankimg-test-XXXXXX").string();
        path = mkdtemp(name.data());
        fs::create_directory(path / "work");
    }
    ~scratch_folder() { fs::remove_all(path); }
};

file_map changed_files(const fs::path& folder, const file_map& inputs) {
    file_map files;
    for (const auto& entry : fs::directory_iterator(folder)) {
        if (!entry.is_regular_file()) continue;
        const std::string name = entry.path().filename().string();
        const std::string content = read_file(entry.path());
        const auto input = inputs.find(name);
        if (input == inputs.end() || input->second != content) files[name] = content;
    }
    return files;
}

}  // namespace

outcome run(const std::string& command, const file_map& inputs) {
    const scratch_folder scratch;
    const fs::path work = scratch.path / "work";
    for (const auto& [name, content] : inputs) {
        std::ofstream(work / name, std::ios::binary) << content;
    }
    const std::string script = "cd " + work.string() + " && PATH=" BANKIMG_DIR ":$PATH && {\n" +
                               command + "\n} >../out 2>../err";
    const int status = std::system(script.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status),
            read_file(scratch.path / "out"), read_file(scratch.path / "err"),
            changed_files(work, inputs)};
}

outcome run_elf(const std::string& options, const std::string& elf) {
    return run("bankimg " + options + " fw.elf", {{"fw.elf", elf}});
}
