// A scratch directory and a shell in it.
#include "test.h"

#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

std::string terminal(const std::string& command, const file_map& inputs) {
    std::string scratch = (std::filesystem::temp_directory_path() / "bankimg-test-XXXXXX").string();
    if (mkdtemp(scratch.data()) == nullptr) abort();
    for (const auto& [name, content] : inputs) std::ofstream(scratch + "/" + name) << content;
    // A slip in the arithmetic of gaps writes gigabytes: no file grows beyond 32 MiB.
    const std::string script = "cd '" + scratch + "' && PATH='" BANKIMG_DIR "':\"$PATH\" && " +
                               "ulimit -f 65536 && {\n" + command + "\n} 2>&1";
    FILE* shell = popen(script.c_str(), "r");
    std::string shown;
    for (int c = 0; (c = getc(shell)) != EOF;) shown += static_cast<char>(c);
    const int status = pclose(shell);
    std::filesystem::remove_all(scratch);
    return shown + (status == 0 ? "" : "exit " + std::to_string(WEXITSTATUS(status)) + "\n");
}

std::string documented(const std::string& start) {
    const std::string text =
        terminal("cat '" README "' \"$(dirname '" README "')/doc/bankimg.1.md\"");
    const std::string block = text.substr(text.find("```text\n" + start));  // throws if none does
    const size_t from = strlen("```text\n");
    return block.substr(from, block.find("```", from) - from);
}
