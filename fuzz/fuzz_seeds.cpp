// Hands the target's seed files to libFuzzer unless the command line names
// seeds itself: -seed_inputs reads them and writes nothing back.
#include <cstring>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    static std::vector<char*> args;
    static std::string seeds = std::string("-seed_inputs=") + ZQ_FUZZ_SEEDS;
    if (std::strlen(ZQ_FUZZ_SEEDS) == 0) return 0;
    for (int i = 0; i < *argc; ++i) {
        if (std::strncmp((*argv)[i], "-seed_inputs=", 13) == 0) return 0;
    }
    args.assign(*argv, *argv + *argc);
    args.push_back(&seeds[0]);
    args.push_back(nullptr);
    *argc = static_cast<int>(args.size()) - 1;
    *argv = args.data();
    return 0;
}
