// The situation: what the SDOM_ calls record, and what its documents share.
#pragma once

#include "sablotron/sdom.h"
#include "sablotron/tree/node_pool.h"

struct SablotSituationRecord {
    SDOM_Exception exception = SDOM_OK;
    SablotHandle processor = nullptr; // receives the messages of parses; set and cleared with the processor's life
    sablot::NodePool nodes;
    sablot::Document* documents = nullptr; // all that live
};
