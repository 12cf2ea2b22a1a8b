#include "report/Results.h"

#include <sstream>
#include <stdexcept>

namespace bench {

namespace {

std::vector<std::string> split(const std::string& line) {
    std::vector<std::string> fields;
    std::istringstream stream(line);
    for (std::string field; std::getline(stream, field, '\t');) {
        fields.push_back(field);
    }
    return fields;
}

Section& sectionOf(Results& results, const std::string& name) {
    for (Section& section : results.sections) {
        if (section.name == name) {
            return section;
        }
    }
    return results.sections.emplace_back(Section{name});
}

void addTime(Section& section, const std::vector<std::string>& fields) {
    if (section.rows.empty() || section.rows.back().name != fields[2]) {
        section.rows.push_back({fields[2], fields[3], {}});
    }
    section.rows.back().times.push_back(
        {fields[4], std::stod(fields[5]), std::stod(fields[6]), fields[7]});
}

}  // namespace

Results readResults(std::istream& input) {
    Results results;
    for (std::string line; std::getline(input, line);) {
        const auto fields = split(line);
        const std::string kind = fields.empty() ? "" : fields[0];
        if (kind == "circumstance" && fields.size() == 3) {
            results.circumstances.push_back({fields[1], fields[2]});
        } else if (kind == "time" && fields.size() == 8) {
            addTime(sectionOf(results, fields[1]), fields);
        } else if (kind == "fact" && fields.size() == 4) {
            sectionOf(results, fields[1]).facts.push_back({fields[2], fields[3]});
        } else if (kind == "goal" && fields.size() == 6) {
            results.goals.push_back({fields[2], fields[3], fields[4], fields[5]});
        } else {
            throw std::runtime_error("not a result: " + line);
        }
    }
    return results;
}

std::map<std::string, std::string> readRemarks(std::istream& input) {
    std::map<std::string, std::string> remarks;
    for (std::string line; std::getline(input, line);) {
        if (const auto fields = split(line); fields.size() == 2 && !line.starts_with('#')) {
            remarks[fields[0]] = fields[1];
        }
    }
    return remarks;
}

}  // namespace bench
