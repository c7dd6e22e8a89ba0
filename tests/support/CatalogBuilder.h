// Builds message catalogs and their map files byte by byte, without the code under test, so that an error in
// encode and decode cannot cancel out.
//
//   CatalogBuilder().text(1, "%s is up").text(5, "bye").flip(3).write(path);
//   CatalogTree(root, "en").catalog("core", 25, CatalogBuilder().text(1, "hello")).write();
#pragma once

#include <filesystem>
#include <map>

#include "support/Bytes.h"

// One catalog file: header, range table, slot arrays, message records, in this order. Numbers that follow
// each other form a range; a number between two ranges has no slot.
class CatalogBuilder : public Damageable<CatalogBuilder> {
public:
    // A message; the record gets the text's NUL and its true length.
    CatalogBuilder& text(uint32_t number, const std::string& text) {
        return record(number, be(static_cast<uint32_t>(text.size() + 1)) + text + '\0');
    }
    // A message record as it stands, length word included.
    CatalogBuilder& record(uint32_t number, std::string bytes) {
        _records[number] = std::move(bytes);
        return *this;
    }
    // A number with an empty slot, which joins the ranges beside it.
    CatalogBuilder& empty(uint32_t number) { return record(number, ""); }

    std::string sound_bytes() const {
        std::vector<std::pair<uint32_t, uint32_t>> ranges;
        for (const auto& [number, record] : _records) {
            if (ranges.empty() || ranges.back().second + 1 != number) ranges.emplace_back(number, number);
            ranges.back().second = number;
        }
        const size_t slots_at = 64 + 12 * ranges.size();
        const size_t records_at = slots_at + 4 * _records.size();
        std::string table, slots, records;
        for (const auto& [first, last] : ranges) {
            table += be(first) + be(last) + be(static_cast<uint32_t>(slots_at + slots.size()));
            for (auto it = _records.find(first); it != _records.end() && it->first <= last; ++it) {
                slots += it->second.empty() ? be(0xFFFFFFFF)
                                            : be(static_cast<uint32_t>(records_at + records.size()));
                records += it->second;
            }
        }
        const std::string file =
            be(0x4795) + std::string(28, '\0') + be(static_cast<uint32_t>(ranges.size())) +
            be(static_cast<uint32_t>(_records.size())) + std::string(8, '\0') + be(64) +
            be(static_cast<uint32_t>(slots_at)) + be(static_cast<uint32_t>(records_at)) + be(0);
        return file + table + slots + records;
    }

private:
    std::map<uint32_t, std::string> _records; // "" for an empty slot
};

// The map file and the catalog files of one module in one language, at root/messages/<language>/.
class CatalogTree {
public:
    CatalogTree(std::string root, std::string language, std::string module = "KORE")
        : _root(std::move(root)), _language(std::move(language)), _module(std::move(module)) {}

    // Catalogs are given in ascending order of category.
    CatalogTree& catalog(const std::string& base, uint32_t category, CatalogBuilder file) {
        _names += (_names.empty() ? "" : " ") + base;
        _groups += base + ".version=1.0\n" + base + ".category=" + std::to_string(category) + "\n" + base +
                   ".min=1\n" + base + ".max=65535\n";
        _files.emplace_back(base, std::move(file));
        return *this;
    }

    std::string dir() const { return _root + "/messages/" + _language + "/"; }
    std::string map_path() const { return dir() + _module + ".bmcmap"; }
    std::string map() const {
        return "# catalogs of " + _module + "\nlanguage=" + _language + "\n" + _module + "=" + _names + "\n" +
               _groups;
    }
    // With the map file that belongs to the catalogs, or one of the caller's making.
    const CatalogTree& write() const { return write(map()); }
    const CatalogTree& write(const std::string& map_text) const {
        std::filesystem::create_directories(dir());
        std::ofstream(map_path(), std::ios::binary | std::ios::trunc) << map_text;
        for (const auto& [base, file] : _files) file.write(dir() + base + ".bmc");
        return *this;
    }

private:
    std::string _root, _language, _module;
    std::string _names, _groups;
    std::vector<std::pair<std::string, CatalogBuilder>> _files;
};
