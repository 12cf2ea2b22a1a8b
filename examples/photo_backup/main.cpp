// Backs the photos of a folder up into a store: photo_backup FOLDER STORE-URL TOKEN

#include <storage/kvxstore/Store.h>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <thread>

#include "PhotoBackup.h"

int main(int argc, char** argv) {
    if (argc != 4) {
        std::cerr << "usage: photo_backup FOLDER STORE-URL TOKEN\n";
        return 2;
    }
    try {
        std::vector<example::Photo> photos;
        for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
            std::ifstream file(entry.path(), std::ios::binary);
            photos.push_back(
                {entry.path().filename().u16string(), {std::istreambuf_iterator<char>(file), {}}});
        }
        const auto client = storage::kvxstore::Store::open(argv[2])->createClient();
        example::PhotoBackup::Options options;
        options.token = argv[3];
        options.wait = [](auto pause) { std::this_thread::sleep_for(pause); };
        const auto report = example::PhotoBackup(*client, options).run(photos);
        std::cout << report.stored << " stored, " << report.alreadyThere << " there already, "
                  << report.renamed.size() << " renamed, " << report.failed.size() << " failed\n";
        return report.failed.empty() ? 0 : 1;
    } catch (const std::exception& error) {
        std::cerr << "photo_backup: " << error.what() << '\n';
        return 1;
    }
}
