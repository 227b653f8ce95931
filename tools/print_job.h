// pumex print without its command line: runs a job file, a picture or a text
// file through the plug-in as the print system would, and leaves the embosser
// stream in OUT. The stream is written beside OUT and renamed over it only
// when the job succeeds. A double-sided job ends with the plug-in's two page
// files (fronts and backs), handed to the driver's dialog program; they are
// moved to OUT's name with "-front" and "-back" before the extension.
#pragma once

#include "job_runner.h"
#include "text_job.h"

#include <iosfwd>
#include <string>

namespace tools {

struct PrintRequest {
    std::string input;    // .json job file, .png picture or .txt text
    std::string out;      // "" for INPUT's name with .prn, in the current folder
    std::string printer;  // "" for the job's own, else the default printer
    std::string module;   // the plug-in module to load
    host::ImageJobOptions picture;
    bool pictureOptionsGiven = false;  // any of the picture options was said
    bool progress = false;             // a line on `errors` per page
};

// Runs the request. What the job did goes to `report`; a failure is one line
// on `errors`. Returns the exit status: 0 done, 1 a bad job, picture or text,
// 2 a bad command line, module, printer, output or system.
int printJob(const PrintRequest& request, std::ostream& report, std::ostream& errors);

}  // namespace tools
