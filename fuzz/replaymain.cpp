// Replays a fuzz target's inputs without libFuzzer: each argument is a file or
// a folder of files, fed one by one to LLVMFuzzerTestOneInput. Used by CTest so
// that the seed corpus (and any crash found earlier and saved there) is run on
// every build, with the ordinary compiler.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

static int runFile(const std::filesystem::path &path)
{
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        std::fprintf(stderr, "replay: cannot read %s\n", path.c_str());
        return 1;
    }
    std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
    return 0;
}

int main(int argc, char **argv)
{
    int failures = 0;
    int count = 0;
    for (int i = 1; i < argc; ++i) {
        std::filesystem::path p(argv[i]);
        if (std::filesystem::is_directory(p)) {
            for (const auto &entry : std::filesystem::recursive_directory_iterator(p)) {
                if (entry.is_regular_file()) {
                    failures += runFile(entry.path());
                    ++count;
                }
            }
        } else {
            failures += runFile(p);
            ++count;
        }
    }
    std::printf("replayed %d inputs\n", count);
    return failures == 0 ? 0 : 1;
}
