// Writes the manual page and the completion of bash while zolget is built: write_pages SOURCE PAGE COMPLETION

#include "BashCompletion.hpp"
#include "ManualPage.hpp"

#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <string>

int main(int argc, char** argv)
{
    try
    {
        if (argc != 4)
        {
            std::cerr << "usage: write_pages SOURCE PAGE COMPLETION\n";
            return EXIT_FAILURE;
        }
        std::ifstream source(argv[1]);
        std::ofstream page(argv[2]);
        std::ofstream completion(argv[3]);
        zolget::writeManualPage(source, page);
        zolget::writeBashCompletion(completion);
        page.close();
        completion.close();
        if (!source.eof() || !page || !completion)
        {
            std::cerr << "write_pages: cannot read or write the files\n";
            return EXIT_FAILURE;
        }
        return EXIT_SUCCESS;
    }
    catch (const std::exception& error)
    {
        std::cerr << "write_pages: " << error.what() << '\n';
        return EXIT_FAILURE;
    }
}
