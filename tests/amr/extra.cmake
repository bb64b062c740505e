# GSM-AMR shares the lag window and the LSP/LSF conversions with the G.729
# family (one implementation, two names), so its tests link those objects too.
target_link_libraries(test_amr PRIVATE xvosc_g729)
