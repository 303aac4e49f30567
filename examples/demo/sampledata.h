#pragma once

#include <dayvex/model/dayvexdata.h>

#include <QDate>

// Fills data with a believable agenda around the month of day.
void fillSampleData(dayvex::DayvexData &data, const QDate &day);
