// A scratch folder, a shell in it, and what both hold afterwards.
#include "run.h"

#include <sys/wait.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace fs = std::filesystem;

namespace {

std::string read_file(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

file_map changed_files(const fs::path& folder, const file_map& inputs) {
    file_map files;
    for (const auto& entry : fs::directory_iterator(folder)) {
        if (entry.is_regular_file()) files[entry.path().filename()] = read_file(entry);
    }
    for (const auto& [name, content] : inputs) {
        if (files[name] == content) files.erase(name);
    }
    return files;
}

}  // namespace

outcome run(const std::string& command, const file_map& inputs) {
    std::string folder = (fs::temp_directory_path() / "bankimg-test-XXXXXX").string();
    const fs::path scratch = mkdtemp(folder.data());
    const fs::path work = scratch / "work";
    fs::create_directory(work);
    for (const auto& [name, content] : inputs) {
        std::ofstream(work / name, std::ios::binary) << content;
    }
    const std::string script = "cd '" + work.string() +
                               "' && PATH='" BANKIMG_DIR "':\"$PATH\" && {\n" + command +
                               "\n} >../out 2>../err";
    const int status = std::system(script.c_str());
    outcome got{WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status),
                read_file(scratch / "out"), read_file(scratch / "err"),
                changed_files(work, inputs)};
    fs::remove_all(scratch);
    return got;
}

outcome run_elf(const std::string& options, const std::string& elf) {
    return run("bankimg " + options + " fw.elf", {{"fw.elf", elf}});
}

std::string terminal(const std::string& command, const file_map& inputs) {
    const outcome got = run("{ " + command + "\n} 2>&1", inputs);
    return got.out + (got.status == 0 ? "" : "exit " + std::to_string(got.status) + "\n");
}

std::string readme_block(const std::string& start) {
    const std::string readme = read_file(README), fence = "```";
    const size_t from = readme.find(fence + "text\n" + start) + strlen("```text\n");
    return readme.substr(from, readme.find(fence, from) - from);
}
