// Replays the files of seed corpora through a fuzz target: every argument is a file or a folder of files.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

static void replay(const std::filesystem::path &file) {
    std::ifstream stream(file, std::ios::binary);
    const std::vector<char> bytes((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
    std::vector<uint8_t> input(bytes.begin(), bytes.end());
    LLVMFuzzerTestOneInput(input.data(), input.size());
}

int main(int argc, char **argv) {
    int replayed = 0;
    for (int i = 1; i < argc; ++i) {
        const std::filesystem::path place(argv[i]);
        if (!std::filesystem::is_directory(place)) {
            replay(place);
            ++replayed;
            continue;
        }
        for (const auto &entry : std::filesystem::directory_iterator(place)) {
            replay(entry.path());
            ++replayed;
        }
    }
    printf("%d inputs replayed\n", replayed);
    return replayed > 0 ? 0 : 1; // an empty corpus proves nothing
}
