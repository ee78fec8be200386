#include "segmentation/RunWatershedImpl.h"

template quillon::StWatershedOutcome
quillon::RunWatershed<ORVEN::CNeighborhood2dDiffN6_1>(const quillon::StWatershedRun& run);
