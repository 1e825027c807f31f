-- Sample rows and rights of the demo shop.
INSERT INTO categories (parent_id, name) VALUES
    (NULL, 'Hardware'), (1, 'Tools'), (1, 'Fasteners'), (NULL, 'Garden'), (4, 'Watering');
INSERT INTO suppliers (name, email, phone) VALUES
    ('Nordwerk GmbH', 'orders@nordwerk.example', '+49 40 1234'),
    ('Green Acre Ltd', 'sales@greenacre.example', '+44 20 5678');
INSERT INTO products (sku, name, category_id, supplier_id, unit_price) VALUES
    ('HM-100', 'Claw hammer 450 g', 2, 1, 14.90),
    ('SD-210', 'Screwdriver set, 12 pieces', 2, 1, 24.50),
    ('SC-040', 'Wood screws 4x40, 200 pieces', 3, 1, 6.95),
    ('WC-015', 'Watering can 15 l', 5, 2, 19.99),
    ('HS-025', 'Garden hose 25 m', 5, 2, 32.00);
INSERT INTO warehouses (code, city) VALUES ('HAM1', 'Hamburg'), ('MUC1', 'Munich');
INSERT INTO stock (warehouse_id, product_id, quantity, reorder_level) VALUES
    (1, 1, 40, 10), (1, 2, 8, 10), (1, 3, 300, 50), (2, 4, 25, 5), (2, 5, 3, 5), (2, 1, 12, 10);
INSERT INTO employees (login, full_name) VALUES ('alice', 'Alice Meyer'), ('bob', 'Bob Schulz');
UPDATE employees SET manager_id = 1 WHERE login = 'bob';
CALL usp_add_customer('Jonas', 'Becker', 'jonas.becker@example.org');
CALL usp_add_customer('Mia', 'Wagner', 'mia.wagner@example.org');
CALL usp_add_customer('Lena', 'Hoffmann', 'lena.hoffmann@example.org');
CALL usp_add_address(1, 'S', 'Hafenstrasse 3', '20457', 'Hamburg');
CALL usp_add_address(2, 'S', 'Leopoldstrasse 40', '80802', 'Munich');
CALL usp_create_order(1);
CALL usp_add_order_item(1, 1, 2);
CALL usp_add_order_item(1, 3, 1);
CALL usp_record_payment(1, 36.75, 'card');
CALL usp_create_order(2);
CALL usp_add_order_item(2, 4, 1);
CALL usp_change_price(5, 29.90);

GRANT USAGE ON SCHEMA public TO shop_readers, shop_clerks;
GRANT SELECT ON ALL TABLES IN SCHEMA public TO shop_readers;
GRANT SELECT, INSERT, UPDATE ON customers, addresses, orders, order_items, payments, shipments TO shop_clerks;
GRANT SELECT ON products, categories, stock, warehouses, employees TO shop_clerks;
GRANT USAGE ON ALL SEQUENCES IN SCHEMA public TO shop_clerks;
GRANT UPDATE ON products, stock TO shop_managers;
GRANT DELETE ON customers, addresses TO shop_managers;
GRANT SELECT ON vw_monthly_sales, vw_customer_overview TO reporting;
REVOKE EXECUTE ON ALL FUNCTIONS IN SCHEMA public FROM PUBLIC;
REVOKE EXECUTE ON ALL PROCEDURES IN SCHEMA public FROM PUBLIC;
GRANT EXECUTE ON FUNCTION fn_order_total(integer), fn_customer_name(integer), fn_stock_on_hand(integer),
    fn_amount_due(integer), fn_open_orders(integer), fn_price_with_vat(numeric, numeric),
    fn_category_path(integer), fn_loyalty_level(integer) TO shop_readers;
GRANT EXECUTE ON PROCEDURE usp_add_customer(varchar, varchar, varchar), usp_add_address(integer, char, varchar,
    varchar, varchar), usp_create_order(integer, integer), usp_add_order_item(integer, integer, integer),
    usp_record_payment(integer, numeric, varchar), usp_cancel_order(integer) TO shop_clerks;
GRANT EXECUTE ON PROCEDURE usp_ship_order(integer, integer, varchar), usp_restock(integer, integer, integer),
    usp_change_price(integer, numeric), usp_discontinue_product(integer) TO shop_managers;
GRANT EXECUTE ON FUNCTION fn_sales_between(date, date) TO reporting;
