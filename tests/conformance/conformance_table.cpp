// Prints the conformance table of the module that it is linked with.
#include <cstdio>
#include <exception>

#include "conformance/document.h"

int main()
{
    try {
        qnips::conformance::Workbench bench(QN_IPS_SAMPLES);
        const auto conformance = qnips::conformance::examine(bench);
        const std::string text = document(conformance, bench.schema());
        return std::fwrite(text.data(), 1, text.size(), stdout) == text.size() ? 0 : 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "conformance_table: %s\n", error.what());
        return 1;
    }
}
