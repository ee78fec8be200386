#include "segmentation/RunWatershedImpl.h"

template quillon::StWatershedOutcome
quillon::RunWatershed<ORVEN::CNeighborhood2dDiffN6_2>(const quillon::StWatershedRun& run);
