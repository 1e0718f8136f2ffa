require ["fileinto", "regex", "relational", "comparator-i;ascii-numeric"];

# auto generated sieve script
# do not modify

if false {
    keep;
}
# RULE: Reports
elsif anyof( header :contains "subject" "quarterly" ,
         header :regex "subject" "^a\.b" ,
         address :all :is :comparator "i;octet" "from" "boss@example.org" ) {
    fileinto "Work/Reports"; keep;
    stop;
}
# RULE: Old news
elsif  not header :value "gt" :comparator "i;ascii-numeric" "zvx-received-date" "20100501" {
    fileinto "Gr&APYA3w-e";
    stop;
}
# NO MATCH
