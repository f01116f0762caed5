// Writes a page of sample data for report_in_browser.py:  mapping_report_sample OUTPUT boxes|hostile|noview|housing [cell size]

#include "tests/tools/mapping_report_sample.h"
#include "tools/mapping_report_html.h"

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>

int main(int argc, char** argv)
{
    const std::string kind = argc > 2 ? argv[2] : "";
    tav3d::tools::MappingReport report;
    if (kind == "housing")
    {
        report = tav3d::tests::housing(argc > 3 ? std::atof(argv[3]) : 1.0);
    }
    else if (kind == "boxes" || kind == "hostile" || kind == "noview")
    {
        report = tav3d::tests::twoBoxes();
        if (kind == "hostile")
        {
            tav3d::tests::makeHostile(report);
        }
        if (kind == "noview")
        {
            report.voxelSurface = {};
        }
    }
    else
    {
        std::cerr << "usage: mapping_report_sample OUTPUT boxes|hostile|noview|housing [cell size]\n";
        return 2;
    }
    std::ofstream page(argv[1], std::ios::binary);
    page << tav3d::tools::mappingReportHtml(report);
    page.close();
    return page ? 0 : 1;
}
