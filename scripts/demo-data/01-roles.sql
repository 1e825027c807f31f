-- Roles of the demo shop. Run as the superuser, once per cluster; the database
-- "korvo_demo", owned by korvo_dev, is made after them.
CREATE ROLE korvo_dev LOGIN CREATEDB PASSWORD 'korvo-demo';
CREATE ROLE shop_readers NOLOGIN;
CREATE ROLE shop_clerks NOLOGIN;
CREATE ROLE shop_managers NOLOGIN IN ROLE shop_clerks;
CREATE ROLE alice LOGIN PASSWORD 'alice-demo' IN ROLE shop_managers;
CREATE ROLE bob LOGIN PASSWORD 'bob-demo' IN ROLE shop_clerks;
CREATE ROLE carol LOGIN PASSWORD 'carol-demo' IN ROLE shop_readers;
CREATE ROLE reporting LOGIN PASSWORD 'reporting-demo' IN ROLE shop_readers;
