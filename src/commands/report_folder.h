// The folder in which a report is put together, beside the file that it becomes.
//
// The folder around it may be another user's, who can rename and replace at any instant what lies there, but neither enter
// the report's folder nor change what is in it. So everything is done by descriptors, and what has the report's folder's
// name is used only when it proves to be it. When he takes the name away, that is a failure: nothing is written and nothing
// removed but in the folder that was made, which is emptied and stays where he has put it.
//
//   FOLDER/.dravik-report-XXXXXX/                root's alone; the report that makes it holds it locked
//   FOLDER/.dravik-report-XXXXXX/made-by-dravik  empty: says that a later report may remove what a killed one has left
//   FOLDER/.dravik-report-XXXXXX/TOP/            what is packed
//   FOLDER/.dravik-report-XXXXXX/report.tar.gz
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "common/owned.h"

namespace dravik {

// Why no report can be made, as a sentence for people that names the thing and the remedy.
class ReportFailure : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// A signal wants to end the process.
class ReportInterrupted {};

// Throws ReportInterrupted when one does.
void checkInterruption();

// How long a report's folder lies untouched before it counts as left behind by one that was killed.
constexpr long LEFT_BEHIND_SECONDS = 3600;

class ReportFolder {
  public:
    // Makes the folder beside `file`, a name from "/" on, where there must be nothing yet, and removes those that killed
    // reports have left there. Throws ReportFailure, also where what has been made is not empty and the running user's
    // alone when it is opened: that is left as it is.
    explicit ReportFolder(const std::string &file);
    // Removes what is in it, and the folder itself where it still has its name.
    ~ReportFolder();
    ReportFolder(const ReportFolder &) = delete;
    ReportFolder &operator=(const ReportFolder &) = delete;

    // Makes the folder TOP, a plain name.
    void makeTop(const std::string &top);
    // Writes a new file of mode 0600 into TOP.
    void write(const std::string &name, const std::string &text);
    // What sha256sum prints of the files in TOP; "" with a sentence in `*problem` where it cannot be run.
    std::string checksums(std::string *problem);
    // Packs TOP, of which only these files in their order, and gives the archive the name of the file, which is still nobody's.
    // The bytes that it has.
    uint64_t pack(const std::vector<std::string> &names);

    // While it lives, the working folder of the process is the report's, or TOP in it: names are relative, so that nobody who
    // renames a folder above can lead a write elsewhere.
    class Visit {
      public:
        explicit Visit(const Descriptor &folder);
        ~Visit();
        Visit(const Visit &) = delete;
        Visit &operator=(const Visit &) = delete;
    };
    const Descriptor &work() const {
        return work_folder;
    }
    const Descriptor &top() const {
        return top_folder;
    }
    // The failure of a step in this folder, with the system's reason and the remedy; where the folder has lost its name, that.
    ReportFailure failure(int error) const;

  private:
    void enterWork();
    void listNames(const std::vector<std::string> &names);
    void runTar(int archive);
    void giveName();

    std::string shown;  // the file's name
    std::string folder; // the folder's
    std::string base;
    std::string work_name;
    std::string top_name;
    Descriptor parent;
    Descriptor work_folder;
    Descriptor top_folder;
};

} // namespace dravik
