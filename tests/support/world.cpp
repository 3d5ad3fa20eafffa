#include "support/world.h"

namespace qnips::test
{

World::World()
    : module(QN_IPS_MODULE), schema({QN_IPS_YANG_DIR, QN_IPS_IETF_YANG_DIR}), table(module.rows(), schema),
      catalogue(SignatureCatalogue::load(QN_IPS_CATALOGUE))
{
}

const World& world()
{
    static const World all;
    return all;
}

} // namespace qnips::test
